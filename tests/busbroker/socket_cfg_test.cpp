/* SPDX-License-Identifier: MIT */
#include <libxml/parser.h>

#include "support/capture.h"

namespace {

const std::string ip_of_46(46, '1');

// What became of a source: the values as text, or the error with those that were read before it.
std::string parse(std::string source)
{
    sock_cfg cfg{};
    uint32_t status = 0;
    const bool is_xml = source.starts_with('<');
    const xmlDocPtr doc =
        is_xml ? xmlReadMemory(source.data(), int(source.size()), "cfg", nullptr, 0) : nullptr;
    std::string console = console_of([&] {
        status = parse_socket_cfg(is_xml ? xmlDocGetRootElement(doc) : nullptr, &cfg, is_xml, source.data());
    });
    xmlFreeDoc(doc);
    EXPECT_EQ(status, console.empty() ? 0 : DIAG_ERR_INVALID_ARG);
    char values[100];
    snprintf(values, sizeof values, "%s %d %d %d %d", cfg.ip, cfg.port, cfg.is_ipv4, cfg.max_sock_cnt,
             cfg.is_udp);
    return values + (console.empty() ? "" : " " + console);
}

} // namespace

TEST(SocketCfg, BothForms)
{
    const std::string text_error = " " + error_line("parse_socket_cfg", "Invalid socket config \n");
    const std::string xml_error = " " + error_line("parse_socket_cfg", "Invalid Element Structure\n");
    const std::string rows[][2] = {
        {"127.0.0.1|5000|ipv4|8|udp", "127.0.0.1 5000 1 8 1"},
        {"||  10.0.0.1 ||70000|myipv4x|8||a udp|", "10.0.0.1 4464 1 8 1"},
        {"1.2.3.4|5|ipv6|65535|tcp|more", "1.2.3.4 5 0 65535 0"},
        {"1.2.3.4|5|ipv4|8||", "1.2.3.4 5 1 8 0" + text_error},
        {"|||", " 0 0 0 0" + text_error},
        {ip_of_46 + "|5|ipv4|8|udp", " 0 0 0 0" + text_error},
        {"<s><ip>1.2.3.4</ip> <PortNo>5000</PortNo><inetfamily>ipv4x</inetfamily><timeout><x/></timeout>"
         "<maxsockcnt>8</maxsockcnt><sock_type>udpx</sock_type></s>",
         "1.2.3.4 5000 1 8 1"},
        {"<s><ip> 1 </ip><inetfamily>ipv</inetfamily><sock_type>a udp</sock_type></s>", " 1  0 0 0 0"},
        {"<s/>", " 0 0 0 0"},
        {"<s><maxsockcnt>8</maxsockcnt><PortNo><x/></PortNo><ip>1</ip></s>", " 0 0 8 0" + xml_error},
        {"<s><sock_type></sock_type></s>", " 0 0 0 0" + xml_error},
        {"<s><ip>" + ip_of_46 + "</ip></s>", " 0 0 0 0" + xml_error},
    };
    for (const auto &[source, expected] : rows) {
        EXPECT_EQ(parse(source), expected) << source;
    }
}

TEST(Socket, BindsOrConnectsOrTellsWhyNot)
{
    const std::string bad_address = error_line("create_socket", "Invalid IP address 1.\\x1b[\n");
    // Whether it connects, and the last message at verbosity 3.
    const std::tuple<sock_cfg, int, std::string> rows[] = {
        {{0, 1, 1, "127.0.0.1", 0, {}}, 0, "Socket binding successful\nSocket is ready \n"},
        {{0, 1, 1, "", 9, {}}, 1, "Socket connected \nSocket is ready \n"},
        {{0, 1, 0, "::1", 0, {}}, 0, "Currently we don't support IPV6\n"},
        {{0, 1, 1, "192.0.2.1", 0, {}}, 0, "Socket bind failure with err code  [99]\n"},
        {{0, 1, 1, "127.1", 0, {}}, 0, "Socket binding successful\nSocket is ready \n"},
        {{0, 1, 1, "1.\x1b[", 9, {}}, 0, bad_address + "Socket bind failure with err code  [22]\n"},
        {{0, 1, 1, "1.\x1b[", 9, {}}, 1, bad_address + "Socket connect fail with err code [22]\n"},
    };
    set_verb_level(3);
    for (auto [cfg, connect, outcome] : rows) {
        int32_t fd = -1;
        uint32_t status = 0;
        const std::string console =
            console_of([&, &cfg = cfg, connect = connect] { status = create_socket(&cfg, &fd, connect); });
        EXPECT_TRUE(console.ends_with(outcome)) << console;
        EXPECT_EQ(status == 0, outcome.ends_with("ready \n"));
        EXPECT_EQ(close(fd) == 0, outcome.find("Socket bind failure") == std::string::npos);
        if (cfg.ip[1] == '9') {
            EXPECT_STREQ(diag_reason(), "192.0.2.1:0: Cannot assign requested address");
        }
    }
    sock_cfg cfg{};
    char text[] = "1\x1b[|5|ipv4\r||";
    const std::string console = console_of([&] { parse_socket_cfg(nullptr, &cfg, 0, text); });
    EXPECT_TRUE(console.starts_with("Ip addr = 1\\x1b[\nIp Port = 5\nConfig ip family = ipv4\\r\n"))
        << console;
    EXPECT_STREQ(diag_reason(), "the socket configuration has no usable maxsockcnt");
}
