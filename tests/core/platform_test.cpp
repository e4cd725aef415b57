/* SPDX-License-Identifier: MIT */
#include <sys/utsname.h>

#include "support/capture.h"

namespace fs = std::filesystem;

static std::string machine; // without a name, uname fails

extern "C" int __real_uname(struct utsname *host);
extern "C" int __wrap_uname(struct utsname *host)
{
    const int result = __real_uname(host);
    if (machine != host->machine) { // the real name stands as the system gave it
        strcpy(host->machine, machine.c_str());
    }
    return machine.empty() ? -1 : result;
}

TEST(Platform, ProcessorFamily)
{
    const auto other = error_line("get_cpu_arch", "Could not get valid cpu architecture\n");
    using row = std::tuple<std::string, int, std::string>;
    for (const row &c : {row("x86_64", 3, ""), row("armv7l", 4, ""), row("x86345678", 3, ""),
                         row("x863456789", -1, other), row("aarch64", -1, other), row("ar", -1, other),
                         row("", -1, error_line("get_cpu_arch", "Could not get cpu architcture!\n"))}) {
        int code = -1;
        machine = std::get<0>(c);
        EXPECT_EQ(
            console_of([&] { EXPECT_EQ(get_cpu_arch(&code), std::get<1>(c) < 0 ? DIAG_ERR_FAILED : 0); }),
            std::get<2>(c));
        EXPECT_EQ(code, std::get<1>(c));
    }
}

TEST(Platform, Files)
{
    char folder[] = "/tmp/platform_testXXXXXX";
    const std::string lib = std::string(mkdtemp(folder)) + "/lib", base = lib + "/board";
    fs::create_directories(lib);
    fs::create_directories(lib + "/../bin/folder");
    std::ofstream(lib + "/../bin/tool") << "x";
    const auto is_chosen = [&](const std::string &name) {
        const std::unique_ptr<char, decltype(&free)> found(build_config_filename(base.c_str()), free);
        return name == (found == nullptr ? "" : found.get());
    };
    set_verb_level(3);
    EXPECT_EQ(console_of([&] { EXPECT_TRUE(is_chosen("")); }),
              "Config file (" + base + ") must be either end in a .xml or .cfg extension\n");
    mkfifo((base + ".xml").c_str(), 0600); // opening it must not wait for a writer
    EXPECT_TRUE(is_chosen(base + ".xml"));
    fs::create_directory(base + ".cfg"); // opens for reading too
    EXPECT_TRUE(is_chosen(base + ".cfg"));
    EXPECT_EQ(
        console_of([] { EXPECT_EQ(build_config_filename(nullptr), nullptr); }),
        error_line("build_config_filename",
                   "You must pass a valid string to use as the base of the filename without extension\n"));

    // A path of 255 characters fits, one of 256 does not, though the file exists.
    const std::string longest = lib + std::string(255 - lib.size() - strlen("/../bin/tool"), '/');
    using row = std::tuple<std::string, const char *, bool>;
    for (const auto &[libraries, name, exists] :
         {row(lib, "tool", true), row(longest, "tool", true), row(longest + "/", "tool", false),
          row(lib, "absent", false), row(lib, "folder", true), row(lib + ":" + lib, "tool", false)}) {
        setenv("LD_LIBRARY_PATH", libraries.c_str(), 1);
        EXPECT_EQ(check_file_existance_in_diagbin(name), exists ? 0 : DIAG_ERR_INVALID_ARG) << libraries;
    }
    EXPECT_EQ(console_of([] { EXPECT_EQ(check_file_existance_in_diagbin(nullptr), DIAG_ERR_INVALID_ARG); }),
              "Input file pointer is NULL\n");
    unsetenv("LD_LIBRARY_PATH");
    EXPECT_EQ(check_file_existance_in_diagbin("tool"), DIAG_ERR_INVALID_ARG);
    fs::remove_all(folder);
}
