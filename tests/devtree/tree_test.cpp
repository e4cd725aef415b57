/* SPDX-License-Identifier: MIT */
#include <random>

#include "support/capture.h"

static size_t largest_allocation = SIZE_MAX;

extern "C" void *__real_calloc(size_t count, size_t size);
extern "C" void *__wrap_calloc(size_t count, size_t size)
{
    return count * size <= largest_allocation ? __real_calloc(count, size) : nullptr;
}

namespace {

// Each device as "path|identifier ", each node as "path[name] ", with a "*" once registered, each channel as
// its path.
std::string shown(const if_tree &tree, const std::string &path = "")
{
    std::stringstream text;
    for (const dev_entry *entry = tree.devs; entry != nullptr; entry = entry->next) {
        text << path << "|" << entry->dev->dev_id << " ";
    }
    for (const mux_tree *node = tree.muxes; node != nullptr; node = node->next) {
        text << path << "[" << node->name << (node->is_mux && node->dev != nullptr ? "*] " : "] ");
        for (const mux_channel *channel = node->channels; channel != nullptr; channel = channel->next) {
            std::stringstream name;
            name << node->name << "-" << std::hex << channel->sel + 1 << ".";
            text << name.str() << " " << shown(channel->tree, name.str());
        }
    }
    return text.str();
}

struct platform {
    std::vector<std::string> texts;
    std::vector<pf_dev> devs;
    pf_tree tree{};
    proc_info proc{};

    uint32_t build()
    {
        return update_pf_tree(devs.data(), &tree, true, &proc);
    }
    std::string on(int if_num = 0) const
    {
        std::string text = shown(tree.i2c[if_num]) + ":";
        for (auto *node = if_num < 25 ? proc.i2c[if_num].muxes : nullptr; node != nullptr;
             node = node->next) {
            text += node->dev->dev_id + ("=" + std::to_string(node->mux_param)) + " ";
        }
        return text;
    }
};

// A platform of devices given as "identifier=mux type@interface", separated by single blanks; the interface
// is i2c-0 if none is given. It stays to the end of the process: the leak check then finds what no tree
// holds.
platform &make(const std::string &list)
{
    static std::vector<platform *> &all = *new std::vector<platform *>;
    platform &p = *all.emplace_back(new platform{});
    std::istringstream words(list);
    for (std::string word; std::getline(words, word, ' ');) {
        const size_t at = word.find('@'), mux = word.find('=');
        p.texts.push_back(word.substr(0, std::min(mux, at)));
        p.texts.push_back(at == std::string::npos ? "i2c-0" : word.substr(at + 1));
        p.texts.push_back(mux == std::string::npos
                              ? ""
                              : word.substr(mux + 1, at == std::string::npos ? at : at - mux - 1));
    }
    p.devs.resize(p.texts.size() / 3);
    for (size_t i = 0; i < p.devs.size(); i++) {
        const std::string *text = &p.texts[3 * i];
        p.devs[i] = {text[0].c_str(), text[1].c_str(), text[2].empty() ? nullptr : text[2].c_str(), nullptr};
        p.devs[i > 0 ? i - 1 : 0].next = i > 0 ? &p.devs[i] : nullptr;
    }
    return p;
}

const std::string long_name(33, 'N'), too_long = " is longer than 32 characters\n";
const std::string long_path = "M-1.M-2.M-3.M-4.M-5.M-6.M-7.DEVIC"; // 33 characters
const std::string walk = "update_dev_mux_interface_tree", check = "check_add_mux_entry",
                  build = "update_pf_tree", enter = "add_mux_entry_to_proc_info";

TEST(Tree, AMuxAndItsDescriptorMeetInEitherOrder)
{
    std::vector<std::string> order{"M1-3.M2-1.TEMP", "M1-3.M2=xPCA9541y", "M1=PCA9548"}; // sorted
    do {
        platform &p = make(order[0] + " " + order[1] + " " + order[2]);
        const bool m1_first = order[0].size() == 10 || (order[0].size() == 14 && order[1].size() == 10);
        const std::string muxes = m1_first ? ":M1=0 M1-3.M2=10 " : ":M1-3.M2=10 M1=0 ";
        const std::string way = "[M1*] M1-3. M1-3.[M1-3.M2*] M1-3.M2-1. ",
                          temp = "M1-3.M2-1.|M1-3.M2-1.TEMP ";
        EXPECT_EQ(p.build(), 0u);
        EXPECT_EQ(p.on(), way + temp + muxes);
        EXPECT_EQ(p.build(), 0u);
        EXPECT_EQ(p.on(), way + temp + temp + muxes) << "a device as often as given, a mux once";
    } while (std::next_permutation(order.begin(), order.end()));
}

TEST(Tree, IdentifiersAndTheirPaths)
{
    const std::string xs = "X-1." + std::string(26, 'x');
    platform &p = make("EEPROM EEPROM- --EEPROM  -" + long_name +
                       " M-3 --M-...3.-D M-3.N- M-0x1F.D M-0.D M--2.D M-7fffffff.D "
                       "M-3.--N-..1.D M-3..O-1 M-3x.D P-- Q-\t R-.. M-3.N-- " +
                       long_path + " " + xs + "-1");
    const std::string format = error_line(walk, "Invalid device-id format. \n");
    EXPECT_EQ(told(0, [&p] { return p.build(); }), error_line(walk, "Device id -" + long_name + too_long) +
                                                       format + format + format +
                                                       error_line(walk, "Invalid dev id\n") + format +
                                                       error_line(walk, "Device id " + long_path + too_long));
    EXPECT_EQ(p.on(), "|EEPROM |EEPROM- |--EEPROM | "
                      "[M] M-3. M-3.|M-3 M-3.|--M-...3.-D M-3.|M-3.N- "
                      "M-3.[M-3.N] M-3.N-1. M-3.N-1.|M-3.--N-..1.D M-3.[M-3..O] M-3..O-1. "
                      "M-3..O-1.|M-3..O-1 M-1f. M-1f.|M-0x1F.D "
                      "M-0. M-0.|M-0.D M-fffffffe. M-fffffffe.|M--2.D M-7fffffff. "
                      "M-7fffffff.|M-7fffffff.D [P] [Q] [R] [X] X-1. X-1.[" +
                          xs + "] " + xs + "-1. " + xs + "-1.|" + xs + "-1 :");
    platform &longest = make(long_path.substr(0, 32));
    EXPECT_EQ(longest.build(), 0u);
    EXPECT_TRUE(longest.on().ends_with(" M-1.M-2.M-3.M-4.M-5.M-6.M-7.|" + longest.texts[0] + " :"));
}

TEST(Tree, InterfacesDecideWhereADeviceGoesAndWhatEndsTheWalk)
{
    const auto above = [](const std::string &number) {
        return "update_pf_tree[#]: Interface num " + number + " exceeded max allowed I2C if no 25\n";
    };
    const std::pair<std::string, std::string> cases[] = {
        {"D@i2c.bus-3 D=PCA9541@pci D@usb D@i2c-25", ""},
        {"D@i2c-26", above("26")},
        {"D@i2c--1", above("-1")},
        {"D@i2c-18446744073709551617", above("18446744073709551617")},
        {"D@i2c", error_line(build, "Invalid interface i2c\n")}};
    const std::string too_long_id = error_line(build, "Device id " + long_name + too_long);
    set_verb_level(3);
    for (const auto &[list, end] : cases) {
        platform &p =
            make(list + " P@pcimem M@mem L@lpc G@gpio " + long_name + "@i2c-1 " + long_name + "@pci");
        EXPECT_EQ(told(DIAG_ERR_INVALID_ARG, [&p] { return p.build(); }),
                  end.empty() ? too_long_id + too_long_id + "I2C tree building completed\n" : end);
        EXPECT_EQ(shown(p.tree.pci) + shown(p.tree.mem) + shown(p.tree.lpc) + shown(p.tree.gpio) + p.on(1) +
                      p.on(3) + p.on(25),
                  end.empty() ? "|P |M |L |G :|D :|D :" : ":::");
    }
    set_verb_level(0);
}

TEST(Tree, AFailedDescriptorDoesNotEndTheWalkAndTheLastStatusCounts)
{
    platform &p = make("M1=PCA9547@i2c-25 M2=LTC4306 M2=PCA9541 D-x " + long_name + "=PCA9541");
    EXPECT_EQ(told(DIAG_ERR_INVALID_ARG, [&p] { return p.build(); }),
              error_line(enter, "Configured interface num 25 is > max no of interfaces [24] configured\n") +
                  error_line(enter, "mux_type LTC4306 is invalid\n") +
                  error_line(walk, "Invalid device-id format. \n") +
                  error_line(walk, "Device id " + long_name + too_long));
    EXPECT_EQ(p.on() + p.on(25), "[M2*] [D] :M2=-1 [M1*] :");
}

TEST(Tree, RefusalsOfTheSingleSteps)
{
    platform &p = make("M=PCA9541 M-1.D");
    if_tree &tree = p.tree.i2c[0];
    mux_tree *node = nullptr;
    const auto add = [&](if_tree *container, pf_dev *dev, const char *name, bool daemon, uint32_t status) {
        return told(status, [&] {
            return check_add_mux_entry(container, dev, name, 0, &node, true, daemon, nullptr);
        });
    };
    const std::string null = error_line(check, "Pointers received are NULL \n");
    EXPECT_EQ(add(nullptr, p.devs.data(), "M", true, DIAG_ERR_INVALID_ARG), null);
    EXPECT_EQ(add(&tree, nullptr, "M", true, DIAG_ERR_INVALID_ARG), null);
    EXPECT_EQ(add(&tree, p.devs.data(), nullptr, true, DIAG_ERR_INVALID_ARG), null);
    EXPECT_EQ(add(&tree, p.devs.data(), "M", true, DIAG_ERR_INVALID_ARG),
              error_line(check, "Proc info pointers should not be null for devid daemon\n"));
    EXPECT_EQ(add(&tree, p.devs.data(), long_name.c_str(), false, DIAG_ERR_INVALID_ARG),
              error_line(check, "Device id " + long_name + too_long));
    EXPECT_EQ(add(&tree, p.devs.data(), "M", false, 0), "");
    EXPECT_TRUE(node == tree.muxes && node->is_mux);
    node->dev = nullptr; // a registered mux without its descriptor
    EXPECT_EQ(add(&tree, p.devs.data(), "N", false, DIAG_ERR_INVALID_ARG),
              error_line(check, "Invalid tree\n"));
    EXPECT_TRUE(
        told(DIAG_ERR_INVALID_ARG, [&] { return p.build(); }).ends_with(error_line(walk, "Invalid tree\n")));
    set_mux_tree_defaults(node);
    EXPECT_EQ(p.on(), "[M] :");
}

TEST(Tree, AMuxIsEnteredIntoTheDaemonsRecord)
{
    platform &p = make("M2=LTC4306 M1=PCA9541");
    const auto add = [&](pf_dev *mux, uint32_t if_num, proc_info *proc, uint32_t status) {
        return told(status, [=] { return add_mux_entry_to_proc_info(mux, if_num, proc); });
    };
    const std::string null = error_line(enter, "Pointers received are NULL \n");
    EXPECT_EQ(add(nullptr, 24, &p.proc, DIAG_ERR_INVALID_ARG), null);
    EXPECT_EQ(add(p.devs.data(), 24, nullptr, DIAG_ERR_INVALID_ARG), null);
    EXPECT_NE(add(p.devs.data(), 25, &p.proc, DIAG_ERR_INVALID_ARG), "");
    EXPECT_EQ(add(&p.devs[0], 24, &p.proc, 0), error_line(enter, "mux_type LTC4306 is invalid\n"));
    EXPECT_EQ(add(&p.devs[1], 24, &p.proc, 0), "");
    EXPECT_EQ(p.on(24), ":M2=-1 M1=10 ") << "a refused mux is not entered";
}

std::string random_list(size_t count)
{
    std::mt19937 random(20240);
    std::string list;
    const char *const malformed[] = {"M1-3x.D", "M2-.", "M1-1.M1-", "M3--", "-", "M2-1.M9-g.X", "M1-1."};
    for (size_t n = 0; n < count; n++) {
        std::string path;
        for (auto hops = random() % 4; hops > 0; hops--) {
            path += "M" + std::to_string(random() % 12) + "-" + "123456789abc"[random() % 12] + ".";
        }
        const auto kind = random() % 8;
        const std::string device = path + (kind < 4 ? "M" : "D") + std::to_string(random() % 400);
        list += (kind == 0 ? malformed[random() % 7] : device + (kind < 4 ? "=PCA9548" : "")) + " ";
    }
    return list;
}

TEST(Tree, RandomListsAreTheSameWithAndWithoutTheIndex)
{
    const std::string list = random_list(3000);
    platform &indexed = make(list), &walked = make(list);
    console_of([&] {
        indexed.build();
        for (pf_dev &dev : walked.devs) {
            update_dev_mux_interface_tree(&dev, 0, &walked.tree.i2c[0], true, &walked.proc);
        }
        // The second call's index meets a tree: it grows, it may not grow, there is none.
        for (const size_t limit : {SIZE_MAX, size_t{20} * 1024, size_t{4} * 1024}) {
            platform &p = make(list);
            p.devs[2799].next = nullptr;
            p.build();
            largest_allocation = limit;
            update_pf_tree(&p.devs[2800], &p.tree, true, &p.proc);
            largest_allocation = SIZE_MAX;
            EXPECT_TRUE(indexed.on() == p.on()) << limit;
        }
    });
    EXPECT_TRUE(indexed.on() == walked.on());
}

} // namespace
