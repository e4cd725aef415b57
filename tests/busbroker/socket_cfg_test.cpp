/* SPDX-License-Identifier: MIT */
// Socket configuration in both forms, and the socket made from it.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <libxml/parser.h>
#include <unistd.h>

#include <boarddiag.h>

#include "support/capture.h"

using diagtest::console_of;
using diagtest::error_line;

namespace {

struct parsed {
    uint32_t status;
    std::string console;
    sock_cfg cfg;
};

parsed parse(const std::string &source)
{
    parsed result{0, "", {}};
    const bool is_xml = source.starts_with('<');
    const xmlDocPtr doc =
        is_xml ? xmlReadMemory(source.data(), static_cast<int>(source.size()), "cfg", nullptr, 0) : nullptr;
    std::string text = source;
    result.console = console_of([&] {
        xmlNode *root = doc != nullptr ? xmlDocGetRootElement(doc) : nullptr;
        result.status = parse_socket_cfg(root, &result.cfg, is_xml, text.data());
    });
    xmlFreeDoc(doc);
    return result;
}

const std::string ip_of_46 = std::string(46, '1');

} // namespace

TEST(SocketCfg, Forms)
{
    static const struct {
        std::string source;
        std::string error; // empty: accepted
        const char *ip;
        int port, ipv4, count, udp;
    } rows[] = {
        {"127.0.0.1|5000|ipv4|8|udp", "", "127.0.0.1", 5000, 1, 8, 1},
        {"||  10.0.0.1 ||70000|myipv4x|8||a udp|", "", "10.0.0.1", 4464, 1, 8, 1},
        {"1.2.3.4|5|ipv6|65535|tcp|more", "", "1.2.3.4", 5, 0, 65535, 0},
        {"1.2.3.4|5|ipv4|8", "Invalid socket config \n", "1.2.3.4", 5, 1, 8, 0},
        {"|||", "Invalid socket config \n", "", 0, 0, 0, 0},
        {ip_of_46 + "|5|ipv4|8|udp", "Invalid socket config \n", "", 0, 0, 0, 0},
        {"<s><ip>1.2.3.4</ip> <PortNo>5000</PortNo><inetfamily>ipv4x</inetfamily><timeout><x/></timeout>"
         "<maxsockcnt>8</maxsockcnt><sock_type>udpx</sock_type></s>",
         "", "1.2.3.4", 5000, 1, 8, 1},
        {"<s><ip> 1 </ip><inetfamily>ipv</inetfamily><sock_type>a udp</sock_type></s>", "", " 1 ", 0, 0, 0,
         0},
        {"<s/>", "", "", 0, 0, 0, 0},
        {"<s><maxsockcnt>8</maxsockcnt><PortNo><x/></PortNo><ip>1</ip></s>", "Invalid Element Structure\n",
         "", 0, 0, 8, 0},
        {"<s><ip></ip></s>", "Invalid Element Structure\n", "", 0, 0, 0, 0},
        {"<s><ip>" + ip_of_46 + "</ip></s>", "Invalid Element Structure\n", "", 0, 0, 0, 0},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.source);
        const parsed result = parse(row.source);
        EXPECT_EQ(result.status, row.error.empty() ? 0 : DIAG_ERR_INVALID_ARG);
        EXPECT_EQ(result.console, row.error.empty() ? "" : error_line("parse_socket_cfg", row.error));
        EXPECT_STREQ(result.cfg.ip, row.ip);
        EXPECT_EQ(result.cfg.port, row.port);
        EXPECT_EQ(result.cfg.is_ipv4, row.ipv4);
        EXPECT_EQ(result.cfg.max_sock_cnt, row.count);
        EXPECT_EQ(result.cfg.is_udp, row.udp);
    }
    sock_cfg cfg{};
    EXPECT_EQ(parse_socket_cfg(nullptr, &cfg, 0, nullptr), DIAG_ERR_INVALID_ARG);
}

TEST(SocketCfg, Traces)
{
    const std::string expected = "Ip addr = 1.2.3.4\nIp Port = 5\nConfig ip family = ipv4\n"
                                 "Max allowed count = 8\n";
    set_verb_level(3);
    EXPECT_EQ(parse("1.2.3.4|5|ipv4|8|udp").console, expected);
}

TEST(Socket, CreatesOrTellsWhyNot)
{
    static const struct {
        const char *ip;
        int ipv4, connect;
        uint32_t status;
        std::string last; // the message of the outcome, at verbosity 3
        bool open;
    } rows[] = {
        {"127.0.0.1", 1, 0, 0, "Socket binding successful\nSocket is ready \n", true},
        {"127.0.0.1", 1, 1, 0, "Socket connected \nSocket is ready \n", true},
        {"", 1, 1, 0, "Socket connected \nSocket is ready \n", true},
        {"::1", 0, 0, DIAG_ERR_INVALID_ARG, "Currently we don't support IPV6\n", true},
        {"192.0.2.1", 1, 0, DIAG_ERR_INVALID_ARG, "Socket bind failure with err code  [99]\n", false},
        {"", 1, 0, DIAG_ERR_INVALID_ARG, "Socket bind failure with err code  [22]\n", false},
        {"1.2.3", 1, 1, DIAG_ERR_INVALID_ARG, "Socket connect fail with err code [22]\n", true},
    };
    set_verb_level(3);
    for (const auto &row : rows) {
        sock_cfg cfg{0, 1, static_cast<uint8_t>(row.ipv4), "", 0, {}};
        snprintf(cfg.ip, sizeof cfg.ip, "%s", row.ip);
        cfg.port = row.connect != 0 ? 9 : 0;
        int32_t fd = -1;
        uint32_t status = 0;
        const std::string console = console_of([&] { status = create_socket(&cfg, &fd, row.connect); });
        EXPECT_EQ(status, row.status);
        EXPECT_TRUE(
            console.starts_with("Creating socket......! \nSocket creation successful and sock id = "));
        EXPECT_TRUE(console.ends_with(row.last)) << console;
        EXPECT_EQ(fd >= 0, row.open);
        EXPECT_EQ(close(fd) == 0, row.open);
    }
}
