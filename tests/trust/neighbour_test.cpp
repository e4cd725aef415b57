/* SPDX-License-Identifier: MIT */
// Other users of the machine: what they put at a FIFO's path, before a call or in the middle of it.

#include "access/calls.h"

namespace fs = std::filesystem;

static std::function<void()> before_open; // runs once

extern "C" int __real_open64(const char *path, int flags);
extern "C" int __wrap_open64(const char *path, int flags);
int __wrap_open64(const char *path, int flags)
{
    if (before_open) {
        std::exchange(before_open, nullptr)();
    }
    return __real_open64(path, flags);
}

constexpr uid_t neighbour = 65534;

class Neighbour : public Calls {
  protected:
    std::string secret = board.root + "/secret";

    // What somebody may put at a path.
    const std::pair<const char *, std::function<void()>> things[5] = {
        {"file", [this] { std::ofstream(path) << "theirs"; }},
        {"FIFO", [this] { mkfifo(pipe, 0666); }},
        {"link", [this] { fs::create_symlink(secret, path); }},
        {"link to a FIFO", [this] { fs::create_symlink(secret + "-FIFO", path); }},
        {"folder", [this] { fs::create_directory(path); }},
    };

    void SetUp() override
    {
        chmod(board.root.c_str(), 01777); // shared, as /tmp is
        std::ofstream(secret) << "mine";
        mkfifo((secret + "-FIFO").c_str(), 0666);
    }

    /// Reads a byte of the EEPROM, which comes only with status 0; what is told.
    std::string read(uint32_t status)
    {
        const std::string all =
            told(status, [&] { return i2ctool_get("3", 0x50, 0, &reg8_data8, 1, pipe, dest); });
        EXPECT_EQ(got(2), (bytes{status == 0 ? uint8_t{'B'} : uint8_t{0xee}, 0xee}));
        return all;
    }

    void expect_good()
    {
        fs::remove(path);
        EXPECT_EQ(read(0), "");
        EXPECT_FALSE(fs::exists(fs::symlink_status(path)));
        EXPECT_EQ(text_of(secret), "mine");
    }
};

TEST_F(Neighbour, OnlyWhatTheProgramMayRemoveIsReplacedAndNoFolder)
{
    const std::string refused = error_line("i2ctool_get", "Error Creating I2C pipe " + path + "\n");
    for (const auto &[name, put] : things) {
        SCOPED_TRACE(name);
        const bool stays = name == "folder"s;
        put(); // its own leftover
        EXPECT_EQ(read(stays ? DIAG_ERR_FAILED : 0), stays ? refused : "");
        EXPECT_EQ(fs::is_directory(path), stays);
        expect_good();
        if (geteuid() == 0) {
            put();
            EXPECT_EQ(lchown(pipe, neighbour, neighbour), 0);
            ASSERT_EQ(seteuid(neighbour - 1), 0); // a program that may not remove what a neighbour owns
            EXPECT_EQ(read(DIAG_ERR_FAILED), refused);
            ASSERT_EQ(seteuid(0), 0);
            EXPECT_TRUE(fs::exists(fs::symlink_status(path)));
            expect_good();
        }
    }
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can act for another user; the program's own leftovers were tried";
    }
}

TEST_F(Neighbour, WhatTakesTheFifosPlaceBeforeItIsOpenedIsNotRead)
{
    for (const auto &[name, put] : things) {
        SCOPED_TRACE(name);
        const bool is_fifo = name == "FIFO"s; // which is as good as the one that went
        before_open = [this, &put = put] { fs::remove(path), put(); };
        EXPECT_EQ(read(is_fifo ? 0 : DIAG_ERR_FAILED),
                  is_fifo ? ""
                          : error_line("i2ctool_get", "Could Not open End of i2c Pipe (" + path + ") [/]\n"));
        EXPECT_EQ(fs::exists(fs::symlink_status(path)), !is_fifo);
        expect_good();
    }
}
