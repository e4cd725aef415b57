/* SPDX-License-Identifier: MIT */
// The socket towards the bus broker, the creation of its two threads, and the receiving one.
#include <arpa/inet.h>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include "busbroker/queues.h"
#include "busbroker/receive.h"
#include "busbroker/refusal.h"
#include "core/printable.h"
#include "core/reason.h"
#include "core/report.h"

namespace {

using boarddiag::address_size;

constexpr const char null_tool_message[] = "NULL Ptr received as tool info. Exiting the rx thread\n";

// ---- The socket ----

const sockaddr *address_of(const sock_cfg *cfg)
{
    return reinterpret_cast<const sockaddr *>(&cfg->sock_addr);
}

// The calling thread's reason, for what the system said of the broker's address.
[[gnu::cold]] void note_error(const sock_cfg &cfg, int error)
{
    char text[address_size];

    boarddiag::set_reason("%s: %s", boarddiag::address_text(cfg, text), strerror(error));
}

[[gnu::cold]] int set_address(sock_cfg *cfg)
{
    char shown[boarddiag::shown_size];

    if (inet_aton(cfg->ip, &cfg->sock_addr.sin_addr) != 0) {
        return 0;
    }
    REPORT_ERROR("create_socket", "Invalid IP address %s\n", boarddiag::printable(shown, cfg->ip));
    return EINVAL;
}

// What a call on the socket left, 0 when it succeeded.
[[gnu::cold]] int judge_call(const sock_cfg *cfg, int result)
{
    const int error = result < 0 ? errno : 0;

    if (error != 0) {
        note_error(*cfg, error);
    }
    return error;
}

// A connect that a signal interrupts goes on by itself; only its end is left to be waited for.
int await_connect(int fd)
{
    pollfd writable{fd, POLLOUT, 0};
    int error = 0;
    socklen_t size = sizeof error;

    while (poll(&writable, 1, -1) < 0 && errno == EINTR) {
    }
    if (getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &size) < 0) {
        return -1;
    }
    errno = error;
    return error == 0 ? 0 : -1;
}

int connect_to(int fd, const sock_cfg *cfg)
{
    const int result = connect(fd, address_of(cfg), sizeof cfg->sock_addr);

    return result < 0 && errno == EINTR ? await_connect(fd) : result;
}

// Without an address text the address is the one that the program put into the configuration.
[[gnu::cold]] uint32_t connect_socket(sock_cfg *cfg, int fd)
{
    int error = cfg->ip[0] != '\0' ? set_address(cfg) : 0;

    if (error == 0) {
        error = judge_call(cfg, connect_to(fd, cfg));
    }
    if (error != 0) {
        diag_print(1, "Socket connect fail with err code [%d]\n", error);
        return DIAG_ERR_INVALID_ARG;
    }
    diag_print(3, "Socket connected \n");
    return 0;
}

[[gnu::cold]] uint32_t bind_socket(sock_cfg *cfg, int32_t *fd)
{
    char shown[boarddiag::shown_size];

    if (cfg->sock_addr.sin_family != AF_INET) {
        REPORT_ERROR("create_socket", "Currently we don't support IPV6\n");
        return DIAG_ERR_INVALID_ARG;
    }
    diag_print(3, "Binding to IP: %s, Port:%d\n", boarddiag::printable(shown, cfg->ip), cfg->port);
    int error = set_address(cfg);
    if (error == 0) {
        error = judge_call(cfg, bind(*fd, address_of(cfg), sizeof cfg->sock_addr));
    }
    if (error != 0) {
        close(*fd);
        *fd = -1;
        diag_print(3, "Socket bind failure with err code  [%d]\n", error);
        return DIAG_ERR_INVALID_ARG;
    }
    diag_print(3, "Socket binding successful\n");
    return 0;
}

// ---- The receiving thread ----

// A refused step leaves the machine in no state at all; the next datagram starts it afresh. What a handler
// returns says nothing: it may be the program's own.
void handle_datagram(tool_info *tool)
{
    if (tool->rx_handler == nullptr) {
        REPORT_ERROR("sock_rx_thread", "No receive handler for tool id = %d\n", tool->tool_id);
        return;
    }
    tool->rx_handler(tool, nullptr);
    if (tool->rx_state == boarddiag::invalid_state) {
        reset_sm(tool, nullptr);
    }
}

[[gnu::cold]] uint32_t tell_receive_failure(const sock_cfg &cfg, int error)
{
    if (error == EINTR) {
        return 0;
    }
    if (error == 0) {
        boarddiag::tell_refusal(0, "Desination socket dropped\n");
    } else {
        REPORT_ERROR("receive_from_socket", "Error while rx data from socket , failed with err code %d\n",
                     error);
        note_error(cfg, error);
    }
    return DIAG_ERR_INVALID_ARG;
}

[[gnu::cold]] void tell_datagram(const tool_info *tool)
{
    char shown[boarddiag::shown_size];
    const auto *text = reinterpret_cast<const char *>(tool->rx_buf);

    diag_print(3, "Rx data of len %d is %s\n", tool->rx_len, boarddiag::printable(shown, text));
}

} // namespace

const char *boarddiag::address_text(const sock_cfg &cfg, char (&text)[address_size])
{
    char address[INET_ADDRSTRLEN] = "";

    inet_ntop(AF_INET, &cfg.sock_addr.sin_addr, address, sizeof address);
    snprintf(text, sizeof text, "%s:%u", address, ntohs(cfg.sock_addr.sin_port));
    return text;
}

[[gnu::cold]] uint32_t create_socket(struct sock_cfg *cfg, int32_t *fd, int32_t connect_flag)
{
    if (cfg == nullptr || fd == nullptr) {
        REPORT_ERROR(__func__, "Null pointer received for socket config \n");
        return DIAG_ERR_INVALID_ARG;
    }
    diag_print(3, "Creating socket......! \n");
    const sa_family_t family = cfg->is_ipv4 != 0 ? AF_INET : AF_INET6;
    *fd = socket(family, (cfg->is_udp != 0 ? SOCK_DGRAM : SOCK_STREAM) | SOCK_CLOEXEC, 0);
    if (*fd < 0) {
        const int error = errno;
        REPORT_ERROR(__func__, "Socket creation error \n");
        boarddiag::set_reason("a socket cannot be made: %s", strerror(error));
        return DIAG_ERR_INVALID_ARG;
    }
    diag_print(3, "Socket creation successful and sock id = %d\n", *fd);
    cfg->sock_addr.sin_family = family;
    cfg->sock_addr.sin_port = htons(cfg->port);
    memset(cfg->sock_addr.sin_zero, 0, sizeof cfg->sock_addr.sin_zero);
    const uint32_t status = connect_flag != 0 ? connect_socket(cfg, *fd) : bind_socket(cfg, fd);
    if (status == 0) {
        diag_print(3, "Socket is ready \n");
    }
    return status;
}

[[gnu::cold]] uint32_t create_thread(pthread_t *thread, const pthread_attr_t *attr, void *(*start)(void *),
                                     void *arg)
{
    const bool given = thread != nullptr && start != nullptr;
    const int code = given ? pthread_create(thread, attr, start, arg) : EINVAL;

    if (code != 0) {
        REPORT_ERROR(__func__, "Thread creation failed with code = %d\n", code);
        boarddiag::set_reason("a thread cannot be made: %s", strerror(code));
        return DIAG_ERR_INVALID_ARG;
    }
    diag_print(3, "Thread [id:%d] created successfully\n", static_cast<int>(*thread));
    return 0;
}

[[gnu::cold]] uint32_t create_sock_threads(const pthread_attr_t *tx_attr, const pthread_attr_t *rx_attr,
                                           struct tool_info *tool, void *(*tx_start)(void *),
                                           void *(*rx_start)(void *), int32_t connect_flag)
{
    if (!boarddiag::has_tool(__func__, tool)) {
        return DIAG_ERR_INVALID_ARG;
    }
    if (create_socket(&tool->sock_cfg, &tool->sock_fd, connect_flag) != 0) {
        REPORT_FOLLOW_UP(__func__, "Socket creation failed for the tool id = %d & inst id = %d\n",
                         tool->tool_id, tool->inst_id);
        return DIAG_ERR_INVALID_ARG;
    }
    bool started = create_thread(&tool->tx_thread, tx_attr, tx_start, tool) == 0;
    if (started) { // noted before a request or a fork() comes, whenever the thread runs
        const auto note = tx_start == sock_tx_thread ? boarddiag::note_transmitter : boarddiag::note_owner;
        note(tool);
    }
    started = started && create_thread(&tool->rx_thread, rx_attr, rx_start, tool) == 0;
    if (!started) {
        REPORT_FOLLOW_UP(__func__, "Can't create tx thread for tool id = %d with inst_id = %d\n",
                         tool->tool_id, tool->inst_id);
        return DIAG_ERR_INVALID_ARG;
    }
    return 0;
}

void *sock_rx_thread(void *arg)
{
    auto *tool = static_cast<tool_info *>(arg);

    if (tool == nullptr) {
        REPORT_ERROR(__func__, null_tool_message);
        return nullptr;
    }
    while (receive_from_socket(tool) == 0) {
        if (tool->rx_len != 0) {
            handle_datagram(tool);
        }
    }
    REPORT_FOLLOW_UP(__func__, "Closing rx thread of tool id [%d], instace id [%d]\n", tool->tool_id,
                     tool->inst_id);
    exit(-1);
}

uint32_t receive_from_socket(struct tool_info *tool)
{
    if (tool == nullptr) {
        REPORT_ERROR(__func__, null_tool_message);
        return DIAG_ERR_INVALID_ARG;
    }
    const ssize_t received =
        recvfrom(tool->sock_fd, tool->rx_buf, sizeof tool->rx_buf - 1, 0, nullptr, nullptr);
    tool->rx_len = received > 0 ? static_cast<uint32_t>(received) : 0;
    if (received <= 0) {
        return tell_receive_failure(tool->sock_cfg, received < 0 ? errno : 0);
    }
    tool->rx_buf[received] = '\0';
    if (boarddiag::is_message_taken(3)) {
        tell_datagram(tool);
    }
    return 0;
}
