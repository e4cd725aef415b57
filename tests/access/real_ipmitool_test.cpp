/* SPDX-License-Identifier: MIT */
// The public ipmitool against a simulated management controller, on the loopback interface. Skipped where
// either is not installed.
#include <numeric>

#include "access/calls.h"
#include "busbroker/loopback.h"

namespace {

constexpr const char *lan_conf = R"(name "bmc"
set_working_mc 0x20
  startlan 1
    addr 127.0.0.1 PORT
    priv_limit admin
    allowed_auths_admin none md5 straight
    guid a123456789abcdefa123456789abcdef
  endlan
  user 2 true "tester" "test" admin 10 none md5 straight
)";

// A controller of firmware 9.08 with 24 bytes of inventory data: 1, 2, 3...
constexpr const char *emulation = R"(mc_setbmc 0x20
mc_add 0x20 0 no-device-sdrs 0x23 9 8 0x9f 0x1291 0xf02
mc_add_fru_data 0x20 0 24 data 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19 20 21 22 23 24
mc_enable 0x20
)";

class RealIpmitool : public Calls {
  protected:
    FILE *controller = nullptr;
    int pid = 0;

    void SetUp() override
    {
        std::istringstream installed(run_shell("PATH=/usr/local/bin:/usr/bin:/usr/sbin\n"
                                               "command -v ipmitool && command -v ipmi_sim")
                                         .out);
        std::string tool, simulator, conf = lan_conf;
        if (!(installed >> tool >> simulator)) {
            GTEST_SKIP() << "ipmitool or ipmi_sim is not installed (scripts/setup --full installs both)";
        }
        const tool_info *holder = new_client(); // of a port that is free
        const uint16_t port = ntohs(holder->sock_cfg.sock_addr.sin_port);
        close(holder->sock_fd);
        std::ofstream(board.root + "/lan.conf") << conf.replace(conf.find("PORT"), 4, std::to_string(port));
        std::ofstream(board.root + "/bmc.emu") << emulation;
        become("exec " + tool + " -I lan -H 127.0.0.1 -p " + std::to_string(port) +
               " -U tester -P test \"$@\"");
        const std::string command = "cd " + board.root + "; echo $$; exec " + simulator +
                                    " -n -c lan.conf -f bmc.emu -s . >/dev/null 2>&1";
        controller = popen(command.c_str(), "re");
        ASSERT_EQ(fscanf(controller, "%d", &pid), 1);
        const std::string bound = "timeout 5 sh -c \"until grep -q $(printf :%04X " + std::to_string(port) +
                                  ") /proc/net/udp; do :; done\"";
        ASSERT_EQ(run_shell(bound).status, 0);
    }

    void TearDown() override
    {
        if (controller != nullptr) {
            kill(pid, SIGTERM);
            pclose(controller);
        }
    }
};

TEST_F(RealIpmitool, AnswersOfOneLineAndOfMore)
{
    EXPECT_EQ(ipmitool2_get(0x06, 0x01, 0, nullptr, 15, dest), 0u);
    EXPECT_EQ(got(15), (bytes{0, 3, 0x09, 0x08, 0x02, 0x9f, 0x91, 0x12, 0, 2, 0x0f, 0, 0, 0, 0}));
    const uint8_t read_fru[] = {0, 0, 0, 20}; // of device 0, from offset 0, 20 bytes
    bytes counted(21, 20);
    std::iota(counted.begin() + 1, counted.end(), uint8_t{1});
    EXPECT_EQ(ipmitool2_get(0x0a, 0x11, 4, read_fru, 21, dest), 0u);
    EXPECT_EQ(got(21), counted);
}

} // namespace
