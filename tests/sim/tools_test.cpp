/* SPDX-License-Identifier: MIT */
// The simulated board and its tools, run as the library runs them.
#include "support/sim_board.h"

using bytes = std::vector<uint8_t>;

constexpr int usage = 2 << 8, device = 1 << 8;
constexpr char eeprom[] = "i2c/3/0x50.bin";

// The options that many command lines share; they may stand in any order.
const std::string i2c_write = "i2ctool --write --bus=3 --width=8 ", eeprom_write = i2c_write + "--addr=0x50 ",
                  pci_write = "pcitool --write --bus=0x00 --dev=0x1f --func=0x00 ",
                  lpc_write = "lpctool --write --addr=0x00000100 ",
                  one_lpc_byte = "lpctool --get --addr=0x00000000 --size=b --count=1 --pipe=";

TEST(Tools, RefuseEveryOtherSpelling)
{
    const sim_board board;
    const std::vector<std::string> refused = {
        eeprom_write + "--reg=0x1 --val=0x01",
        "i2ctool --write --bus=3 --addr=50 --width=8 --reg=0x10 --val=0x01",
        "i2ctool --write --bus=3 --addr=0x50 --width=32 --reg=0x10 --val=0x01",
        eeprom_write + "--regblock=0x10 --val=0x01",
        eeprom_write + "--reg=0x10 --reg16=0x0010 --val=0x01",
        eeprom_write + "--reg=0x10 --reg=0x10 --val=0x01",
        eeprom_write + "--reg=0x10 --val=0x01,",
        eeprom_write + "--reg=0x10",
        eeprom_write + "--val=0x01",
        eeprom_write + "--flag=PEC --reg=0x10 --val=0x01",
        eeprom_write + "--reg=0x10 --val=0x01 --reg_le=1",
        "i2ctool --write --read --bus=3 --addr=0x50 --width=8 --reg=0x10 --val=0x01",
        eeprom_write + "--reg=0x10 --val=0x01 more",
        "i2ctool --read --bus=3 --addr=0x50 --count=-1 --pipe=/tmp/p --width=8 --reg=0x10",
        "gpiotool --set --chip=0 --pin=2 --val=256",
        lpc_write + "--size=q --val=0x1",
        one_lpc_byte,
        pci_write + "--offset=0x40 --busbroker_req --val=0x01",
        "memtool --write --addr=0x80000000 --width=8 --val=0x100",
        "ipmitool sdr",
        "ipmitool raw 0x06",
        "ipmitool raw 0x06 0x001",
        "memtool --write --busbroker_req --addr=0x80000000 --width=8 --val=0x1",
    };
    const bytes before = board.image(eeprom, 0, 256);
    for (const std::string &command : refused) {
        EXPECT_EQ(run_shell(command).status, usage) << command;
    }
    EXPECT_EQ(board.image(eeprom, 0, 256), before);
    EXPECT_EQ(board.commands(), refused);
    EXPECT_EQ(run_shell("i2ctool --no_data --bus=3 --addr=0x5").err,
              "i2ctool: malformed value: --addr=0x5; see i2ctool --help\n");
    EXPECT_EQ(run_shell("boardsim nvramtool --set").err,
              "nvramtool: the first argument is --query, not '--set'; see nvramtool --help\n");
}

TEST(Help, OfEveryToolAndScriptNeedsNoBoardAndAccessesNone)
{
    const sim_board board;
    std::vector<std::string> names = {"boardsim init", "boardsim broker"};
    for (const auto &tool : std::filesystem::directory_iterator(BOARDSIM_BIN)) {
        names.push_back(tool.path().filename());
    }
    for (const auto &script : std::filesystem::directory_iterator(SOURCE_DIR "/scripts")) {
        // One that does not read this in would do its work here.
        ASSERT_NE(text_of(script.path()).find("/arguments\n"), std::string::npos) << script.path();
        names.push_back("scripts/" + script.path().filename().string());
    }
    for (const std::string &name : names) {
        for (const std::string option : {" --help", " --version"}) {
            const run_result run = run_shell("cd '" SOURCE_DIR "'; " + name + option);
            EXPECT_EQ(run.status, 0) << name;
            EXPECT_EQ(run.out.rfind(name, 0), 0U) << run.out;
            EXPECT_EQ(run.out.find('['), std::string::npos) << run.out; // would be typed
            EXPECT_EQ(run.err, "") << name;
        }
    }
    EXPECT_EQ(board.commands().size(), 0U);
    EXPECT_EQ(run_shell("unset BOARDSIM_DIR; boardsim help lpctool").out, run_shell("lpctool --help").out);
}

TEST(Setup, WithoutSudoEndsWithTheLineForRoot)
{
    const sim_board board;
    const run_result run = run_shell("mkdir " + board.root + "/bin; cd " + board.root + "/bin\n" +
                                     "ln -s $(command -v bash) $(command -v dirname) .\n"
                                     "printf '#!/bin/sh\necho 1000' >id; cp id apt-get; chmod +x id apt-get\n"
                                     "PATH=$PWD '" SOURCE_DIR "/scripts/setup'");
    EXPECT_EQ(run.status, 1 << 8);
    EXPECT_NE(run.err.find("\napt-get update && apt-get install -y --no-install-recommends g++ cmake "),
              std::string::npos);
}

TEST(Tools, TellOfWhatIsNotThereOrNotToBeOverwritten)
{
    const sim_board board;
    board.set_image("short.fifo", 0, {1});
    board.set_image("i2c/3/0x51.pec", 0, {});
    std::filesystem::remove(board.folder + "/gpio/0.bin");
    board.set_image("nvram.bin", 1068, {0});
    const std::string unread = board.root + "/unread", plain = board.folder + "/short.fifo",
                      no_reader = " is no FIFO with a reader: ",
                      bridge = "ipmitool raw 0x3a 0x01 0x03 0xa4 0x00 0x40";
    ASSERT_EQ(mkfifo(unread.c_str(), 0600), 0);
    const std::pair<std::string, std::string> cases[] = {
        {one_lpc_byte + unread, unread + no_reader + "No such device or address"},
        {one_lpc_byte + plain, plain + no_reader + "Device not a stream"},
        {"i2ctool --no_data --bus=3 --addr=0x57",
         "no such device: i2c/3/0x57.bin: No such file or directory"},
        {"i2ctool --no_data --bus=$(printf '../\\033') --addr=0x50", "no such I2C bus: ../\\x1b"},
        {"i2ctool --no_data --bus=3 --addr=0x80", "no I2C address of 7 bits: 0x80"},
        {eeprom_write + "--reg=0xff --val=0x01,0x02",
         "i2c/3/0x50.bin holds 256 bytes; no 2 bytes from offset 0xff"},
        {i2c_write + "--addr=0x52 --flag= --reg=0x00 --val=0x01",
         "device 0x52 takes no write without a packet error code"},
        {"gpiotool --set --chip=0 --pin=0 --val=1", "no such device: gpio/0.bin: No such file or directory"},
        {bridge + " 0x02 0x18", "packet error code 0x18, expected 0xb6"},
        {bridge, "device 0xa4: a write without a packet error code"},
        {"ipmitool raw 0x38 0x3 0x3 0x51 0x40 0x1", "device 0x51 takes no write without a packet error code"},
        {"ipmitool raw 0x06 0x01 0x00", "request 0x06 0x01 does not take 1 data bytes"},
        {"nvramtool --query --pipe=/tmp/p", "nvram.bin is not a record of 1068 bytes"},
        {"unset BOARDSIM_DIR; nvramtool --query --pipe=/tmp/p",
         "BOARDSIM_DIR names no board; make one with: boardsim init FOLDER"},
        {"boardsim init " + board.folder,
         board.folder + " is not empty; --force writes the sample board over what it holds"},
        {"boardsim init /dev/null/board", "/dev/null/board: Not a directory"},
    };
    for (const auto &[command, message] : cases) {
        const run_result run = run_shell(command);
        EXPECT_EQ(run.status, device) << command;
        EXPECT_EQ(run.err.substr(run.err.find(": ") + 2), message + "\n");
    }
    EXPECT_EQ(board.image("short.fifo", 0, 2), bytes{1});
    EXPECT_EQ(board.image(eeprom, 0xff, 1), bytes{0xff});
    EXPECT_EQ(board.image("gpio/0.bin", 0, 1), bytes{});
    EXPECT_EQ(run_shell("boardsim init --force " + board.folder).status, 0);
    EXPECT_EQ(board.image("gpio/0.bin", 0, 2), (bytes{0, 1}));
}

TEST(Tools, ALongResultIsWrittenAsItIsRead)
{
    const sim_board board;
    const std::string fifo = board.root + "/fifo";
    const run_result run =
        run_shell("mkfifo " + fifo + "; exec 5<>" + fifo + "; head -c 100000 <&5 | wc -c &\n" +
                  "memtool --get --addr=0x00000000 --count=100000 --width=8 --pipe=" + fifo + " && wait");
    EXPECT_EQ(run.out, "100000\n") << run.err;
}

TEST(Tools, RunsAtTheSameTimeLoseNothing)
{
    const sim_board board;
    // Each of these runs reads and writes; with the lock every one of them is counted and whole.
    board.set_faults("gpiotool 19 exit 5");
    const run_result run = run_shell("for i in 1 2 3 4 5 6 7 8 9 10 1 2 3 4 5 6 7 8 9 10; do\n"
                                     " (gpiotool --set --chip=0 --pin=$i --val=7 || echo failed) &\n"
                                     "done; wait");
    EXPECT_EQ(run.out, "failed\n");
    EXPECT_EQ(board.commands().size(), 20U);
    EXPECT_EQ(board.image("gpio/0.bin", 1, 10), bytes(10, 7));
}

TEST(Faults, ALateToolHoldsUpNobodyElse)
{
    const sim_board board;
    board.set_faults("i2ctool 0 late 300000"); // which would outlast this test's deadline
    const run_result run =
        run_shell("i2ctool --no_data --bus=3 --addr=0x50 &\n"
                  "timeout 60 sh -c 'until [ -e $BOARDSIM_DIR/commands.log ]; do :; done'\n"
                  "ipmitool raw 0x38 0x2 0x3 0x50 0x40 0x2\nkill $!");
    EXPECT_EQ(run.out, " 40 41\n");
    EXPECT_EQ(run.status, 0) << run.err;
}

TEST(Faults, AMalformedLineIsTold)
{
    const sim_board board;
    for (const std::string line :
         {"i2ctool 0", "i2ctol 0 silent", "i2ctool x silent", "i2ctool 0 exit", "i2ctool 0 exit 256",
          "i2ctool 0 silent twice", "i2ctool 0 exit 1 once more", "i2ctool -1 silent", "i2ctool 0 garbage"}) {
        board.set_faults("\n" + line + "\n");
        const run_result run = run_shell("gpiotool --set --chip=0 --pin=1 --val=9");
        EXPECT_EQ(run.status, usage);
        EXPECT_EQ(run.err, "gpiotool: faults, line 2: not a fault: " + line + "\n");
        EXPECT_EQ(board.image("gpio/0.bin", 1, 1), bytes{1});
    }
}
