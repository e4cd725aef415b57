/* SPDX-License-Identifier: MIT */
// The public ipmitool against a simulated management controller, on the loopback interface. Skipped where
// either is not installed.
#include <arpa/inet.h>
#include <array>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <numeric>
#include <spawn.h>
#include <sstream>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <boarddiag.h>

namespace fs = std::filesystem;

namespace {

constexpr const char *lan_conf = R"(name "bmc"
set_working_mc 0x20
  startlan 1
    addr 127.0.0.1 PORT
    priv_limit admin
    allowed_auths_callback none md5 straight
    allowed_auths_user none md5 straight
    allowed_auths_operator none md5 straight
    allowed_auths_admin none md5 straight
    guid a123456789abcdefa123456789abcdef
  endlan
  user 1 true "" "test" user 10 none md5 straight
  user 2 true "tester" "test" admin 10 none md5 straight
)";

// A controller of firmware 9.08 with 32 bytes of inventory data: 1, 2, 3...
std::string emulation()
{
    std::string text = "mc_setbmc 0x20\nmc_add 0x20 0 no-device-sdrs 0x23 9 8 0x9f 0x1291 0xf02\n"
                       "mc_add_fru_data 0x20 0 32 data";
    for (int i = 1; i <= 32; i++) {
        text += " " + std::to_string(i);
    }
    return text + "\nmc_enable 0x20\n";
}

std::string where_is(const std::string &tool)
{
    for (const char *folder : {"/usr/bin/", "/usr/local/bin/", "/usr/sbin/"}) {
        if (access((folder + tool).c_str(), X_OK) == 0) {
            return folder + tool;
        }
    }
    return "";
}

uint16_t free_port()
{
    const int fd = socket(AF_INET, SOCK_DGRAM, 0);
    struct sockaddr_in address = {};
    socklen_t length = sizeof address;
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    bind(fd, reinterpret_cast<struct sockaddr *>(&address), sizeof address);
    getsockname(fd, reinterpret_cast<struct sockaddr *>(&address), &length);
    close(fd);
    return ntohs(address.sin_port);
}

bool is_bound(uint16_t port)
{
    char wanted[16];
    snprintf(wanted, sizeof wanted, ":%04X ", port);
    std::ostringstream table;
    table << std::ifstream("/proc/net/udp").rdbuf();
    return table.str().find(wanted) != std::string::npos;
}

class RealIpmitool : public testing::Test {
  protected:
    std::string folder;
    pid_t controller = 0;

    void SetUp() override
    {
        const std::string tool = where_is("ipmitool"), simulator = where_is("ipmi_sim");
        if (tool.empty() || simulator.empty()) {
            GTEST_SKIP() << "ipmitool or ipmi_sim is not installed (scripts/setup --full installs both)";
        }
        char name[] = "/tmp/boarddiag-ipmi-XXXXXX";
        folder = mkdtemp(name);
        const uint16_t port = free_port();
        std::string conf = lan_conf;
        conf.replace(conf.find("PORT"), 4, std::to_string(port));
        std::ofstream(folder + "/lan.conf") << conf;
        std::ofstream(folder + "/bmc.emu") << emulation();
        std::ofstream(folder + "/ipmitool") << "#!/bin/sh\nexec " << tool << " -I lan -H 127.0.0.1 -p "
                                            << port << " -U tester -P test \"$@\"\n";
        fs::permissions(folder + "/ipmitool", fs::perms::owner_all);
        setenv("PATH", (folder + ":" + getenv("PATH")).c_str(), 1);
        start(simulator);
        for (int tries = 0; tries < 500 && !is_bound(port); tries++) {
            usleep(10000);
        }
    }

    void start(const std::string &simulator)
    {
        const std::string command =
            "cd " + folder + " && exec " + simulator + " -n -c lan.conf -f bmc.emu -s . >/dev/null 2>&1";
        const char *const argv[] = {"sh", "-c", command.c_str(), nullptr};
        ASSERT_EQ(
            posix_spawn(&controller, "/bin/sh", nullptr, nullptr, const_cast<char *const *>(argv), environ),
            0);
    }

    void TearDown() override
    {
        if (controller > 0) {
            kill(controller, SIGTERM);
            waitpid(controller, nullptr, 0);
        }
        if (!folder.empty()) {
            fs::remove_all(folder);
        }
    }
};

TEST_F(RealIpmitool, AnswersOfOneLineAndOfMore)
{
    std::array<uint8_t, 15> id{};
    EXPECT_EQ(ipmitool2_get(0x06, 0x01, 0, nullptr, id.size(), id.data()), 0u);
    const std::array<uint8_t, 15> expected = {0x00, 0x03, 0x09, 0x08, 0x02, 0x9f, 0x91, 0x12,
                                              0x00, 0x02, 0x0f, 0x00, 0x00, 0x00, 0x00};
    EXPECT_EQ(id, expected);

    const std::array<uint8_t, 4> read_fru = {0, 0, 0, 20}; // of device 0, from offset 0, 20 bytes
    std::array<uint8_t, 21> answer{};
    std::array<uint8_t, 21> counted{};
    counted[0] = 20;
    std::iota(counted.begin() + 1, counted.end(), static_cast<uint8_t>(1));
    EXPECT_EQ(ipmitool2_get(0x0a, 0x11, read_fru.size(), read_fru.data(), answer.size(), answer.data()), 0u);
    EXPECT_EQ(answer, counted);
}

} // namespace
