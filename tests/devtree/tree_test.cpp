/* SPDX-License-Identifier: MIT */
#include <algorithm>
#include <boarddiag.h>
#include <climits>
#include <gtest/gtest.h>
#include <random>
#include <set>
#include <sstream>

#include "support/capture.h"

using diagtest::console_of;
using diagtest::error_line;

extern int allocations_left;
extern size_t largest_allocation;
int allocations_left = INT_MAX;
size_t largest_allocation = SIZE_MAX;

extern "C" void *__real_calloc(size_t count, size_t size);
extern "C" void *__wrap_calloc(size_t count, size_t size)
{
    const bool given = count * size <= largest_allocation && allocations_left-- > 0;
    return given ? __real_calloc(count, size) : nullptr;
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

struct item {
    std::string id;
    const char *mux_type = nullptr;
    const char *interface = "i2c-0";
};

struct platform {
    std::vector<item> items;
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

// Platforms stay to the end of the process: the leak check then finds what no tree holds.
platform &make(const std::vector<item> &items)
{
    static std::vector<platform *> &all = *new std::vector<platform *>;
    platform &p = *all.emplace_back(new platform{items, std::vector<pf_dev>(items.size()), {}, {}});
    for (size_t i = 0; i < items.size(); i++) {
        pf_dev *next = i + 1 < items.size() ? &p.devs[i + 1] : nullptr;
        p.devs[i] = {p.items[i].id.c_str(), items[i].interface, items[i].mux_type, next};
    }
    return p;
}

std::string told(uint32_t status, const std::function<uint32_t()> &call)
{
    return console_of([&] { EXPECT_EQ(call(), status); });
}

const std::string long_name(33, 'N');
const std::string long_path = "M-1.M-2.M-3.M-4.M-5.M-6.M-7.DEVIC"; // 33 characters
const std::string too_long = " is longer than 32 characters\n";
const char *const walk = "update_dev_mux_interface_tree", *const check = "check_add_mux_entry",
                  *const enter = "add_mux_entry_to_proc_info", *const build = "update_pf_tree";

TEST(Tree, AMuxAndItsDescriptorMeetInEitherOrder)
{
    const item items[] = {{"M1", "PCA9548"}, {"M1-3.M2", "x PCA9541 y"}, {"M1-3.M2-1.TEMP"}};
    std::vector<int> order{0, 1, 2};
    do {
        platform &p = make({items[order[0]], items[order[1]], items[order[2]]});
        EXPECT_EQ(p.build(), 0u);
        const bool m1_first = order[0] == 0 || (order[0] == 2 && order[1] == 0);
        const std::string muxes = m1_first ? ":M1=0 M1-3.M2=10 " : ":M1-3.M2=10 M1=0 ";
        const std::string temp = "M1-3.M2-1.|M1-3.M2-1.TEMP ",
                          way = "[M1*] M1-3. M1-3.[M1-3.M2*] M1-3.M2-1. ";
        EXPECT_EQ(p.on(), way + temp + muxes);
        EXPECT_EQ(p.build(), 0u);
        EXPECT_EQ(p.on(), way + temp + temp + muxes) << "a device as often as given, a mux once";
    } while (std::next_permutation(order.begin(), order.end()));
}

TEST(Tree, IdentifiersAndTheirPaths)
{
    const std::string format = "Invalid device-id format. \n";
    const std::string xs = "M-1." + std::string(26, 'x');
    const std::string cases[][3] = {
        {"EEPROM", "|EEPROM "},
        {"EEPROM-", "|EEPROM- "},
        {"--EEPROM", "|--EEPROM "},
        {"", "| "},
        {"-" + long_name, "|-" + long_name + " "},
        {"M-3", "[M] M-3. M-3.|M-3 "},
        {"M-0x1F.D", "[M] M-1f. M-1f.|M-0x1F.D "},
        {"M-0.D", "[M] M-0. M-0.|M-0.D "},
        {"M--2.D", "[M] M-fffffffe. M-fffffffe.|M--2.D "},
        {"M-ffffffff.D", "[M] M-ffffffff. M-ffffffff.|M-ffffffff.D "},
        {"--M-...3.-D", "[M] M-3. M-3.|--M-...3.-D "},
        {"M-3.--N-..1.D", "[M] M-3. M-3.[M-3.N] M-3.N-1. M-3.N-1.|M-3.--N-..1.D "},
        {"M-3..N-1", "[M] M-3. M-3.[M-3..N] M-3..N-1. M-3..N-1.|M-3..N-1 "},
        {"M-3.N-", "[M] M-3. M-3.|M-3.N- "},
        {xs + "-1", "[M] M-1. M-1.[" + xs + "] " + xs + "-1. " + xs + "-1.|" + xs + "-1 "},
        {"M-3x.D", "[M] ", format},
        {"M--", "[M] ", format},
        {"M- ", "[M] ", format},
        {"M-..", "[M] ", "Invalid dev id\n"},
        {"M-3.N--", "[M] M-3. M-3.[M-3.N] ", format},
        {long_path, "", "Device id " + long_path + too_long}};
    for (const auto &[id, tree, error] : cases) {
        platform &p = make({{id}});
        EXPECT_EQ(told(error.empty() ? 0 : DIAG_ERR_INVALID_ARG,
                       [&p] {
                           return update_dev_mux_interface_tree(p.devs.data(), 0, p.tree.i2c, false, nullptr);
                       }),
                  error.empty() ? "" : error_line(walk, error));
        EXPECT_EQ(shown(p.tree.i2c[0]), tree);
    }
    platform &longest = make({{long_path.substr(0, 32)}});
    EXPECT_EQ(longest.build(), 0u);
    EXPECT_NE(longest.on().find(" M-1.M-2.M-3.M-4.M-5.M-6.M-7.|" + longest.items[0].id), std::string::npos);
}

TEST(Tree, InterfacesDecideWhereADeviceGoesAndWhatEndsTheWalk)
{
    const std::string over = "update_pf_tree[#]: Interface num ",
                      limit = " exceeded max allowed I2C if no 25\n";
    const std::pair<item, std::string> cases[] = {
        {{"D", nullptr, "i2c-25"}, ""},
        {{"D", nullptr, "my i2c bus - 3"}, ""},
        {{"D", "PCA9541", "pci"}, ""},
        {{"D", nullptr, "usb"}, ""},
        {{"D", nullptr, "i2c-26"}, over + "26" + limit},
        {{"D", nullptr, "i2c--1"}, over + "-1" + limit},
        {{"D", nullptr, "i2c-18446744073709551617"}, over + "18446744073709551617" + limit},
        {{"D", nullptr, "i2c"}, error_line(build, "Invalid interface i2c\n")}};
    set_verb_level(3);
    for (const auto &[device, end] : cases) {
        platform &p = make({device,
                            {"P", nullptr, "pci mem"},
                            {"M", nullptr, "mem"},
                            {"L", nullptr, "lpc"},
                            {"G", nullptr, "gpio"},
                            {long_name, nullptr, "i2c-1"}});
        EXPECT_EQ(told(end.empty() ? 0 : DIAG_ERR_INVALID_ARG, [&p] { return p.build(); }),
                  end.empty() ? "I2C tree building completed\n" : end);
        EXPECT_EQ(shown(p.tree.pci) + shown(p.tree.mem) + shown(p.tree.lpc) + shown(p.tree.gpio) + p.on(1),
                  end.empty() ? "|P |M |L |G |" + long_name + " :" : ":");
        EXPECT_EQ(p.on(25), device.interface == std::string("i2c-25") ? "|D :" : ":");
    }
    set_verb_level(0);
}

TEST(Tree, AFailedDescriptorDoesNotEndTheWalkAndTheLastStatusCounts)
{
    platform &p = make(
        {{"M1", "PCA9547", "i2c-25"}, {"M2", "LTC4306"}, {"M2", "PCA9541"}, {"D-x"}, {long_name, "PCA9541"}});
    EXPECT_EQ(told(DIAG_ERR_INVALID_ARG, [&p] { return p.build(); }),
              error_line(enter, "Configured interface num 25 is > max no of interfaces [24] configured\n") +
                  error_line(enter, "mux_type LTC4306 is invalid\n") +
                  error_line(walk, "Invalid device-id format. \n") +
                  error_line(check, "Device id " + long_name + too_long));
    EXPECT_EQ(p.on() + p.on(25), "[M2*] [D] :M2=-1 [M1*] :");
    console_of([] { EXPECT_EQ(make({{"D-x"}, {"M-1.D"}}).build(), 0u); });
}

TEST(Tree, RefusalsOfTheSingleSteps)
{
    platform &p = make({{"M", "PCA9541"}, {"M-1.D"}});
    if_tree &tree = p.tree.i2c[0];
    mux_tree *node = nullptr;
    const auto add = [&](if_tree *container, pf_dev *dev, const char *name, bool daemon, uint32_t status) {
        return told(status, [&] {
            return check_add_mux_entry(container, dev, name, 0, &node, true, daemon, nullptr);
        });
    };
    const std::string null = error_line(check, "Pointers received are NULL \n");
    EXPECT_EQ(add(nullptr, &p.devs[0], "M", true, DIAG_ERR_INVALID_ARG), null);
    EXPECT_EQ(add(&tree, nullptr, "M", true, DIAG_ERR_INVALID_ARG), null);
    EXPECT_EQ(add(&tree, &p.devs[0], nullptr, true, DIAG_ERR_INVALID_ARG), null);
    EXPECT_EQ(add(&tree, &p.devs[0], "M", true, DIAG_ERR_INVALID_ARG),
              error_line(check, "Proc info pointers should not be null for devid daemon\n"));
    EXPECT_EQ(told(DIAG_ERR_INVALID_ARG,
                   [&] { return update_dev_mux_interface_tree(nullptr, 0, &tree, false, nullptr); }),
              error_line(walk, "Received is a NULL pointer\n"));
    EXPECT_EQ(add(&tree, &p.devs[0], "M", false, 0), "");
    EXPECT_TRUE(node == tree.muxes && node->is_mux);
    node->dev = nullptr; // a registered mux without its descriptor
    EXPECT_EQ(add(&tree, &p.devs[0], "N", false, DIAG_ERR_INVALID_ARG), error_line(check, "Invalid tree\n"));
    EXPECT_TRUE(
        told(DIAG_ERR_INVALID_ARG, [&] { return p.build(); }).ends_with(error_line(walk, "Invalid tree\n")));
    EXPECT_EQ(console_of([] { set_mux_tree_defaults(nullptr); }),
              error_line("set_mux_tree_defaults", "Mux tree is NULL pointer\n"));
    set_mux_tree_defaults(node);
    EXPECT_EQ(p.on(), "[M] :");
}

std::vector<item> random_items(size_t count)
{
    std::mt19937 random(20240);
    std::vector<item> items;
    const char *const malformed[] = {"M1-3x.D", "M2-.", "M1-1.M1-", "M3--", "-", "M2-1.M9-g.X", "M1-1."};
    while (items.size() < count) {
        std::string path;
        for (auto hops = random() % 4; hops > 0; hops--) {
            path += "M" + std::to_string(random() % 12) + "-" + "123456789abc"[random() % 12] + ".";
        }
        const auto kind = random() % 8;
        const std::string name = path + (kind < 4 ? "M" : "D") + std::to_string(random() % 50);
        items.push_back(kind == 0 ? item{malformed[random() % 7]}
                                  : item{name, kind < 4 ? "PCA9548" : nullptr});
    }
    return items;
}

TEST(Tree, RandomListsKeepTheInvariantsWithAndWithoutTheIndex)
{
    const auto items = random_items(3000);
    platform &indexed = make(items), &walked = make(items), &grown = make(items);
    console_of([&] {
        indexed.build();
        for (pf_dev &dev : walked.devs) {
            update_dev_mux_interface_tree(&dev, 0, &walked.tree.i2c[0], true, &walked.proc);
        }
        grown.devs[999].next = nullptr; // the second call meets a tree
        grown.build();
        update_pf_tree(&grown.devs[1000], &grown.tree, true, &grown.proc);
        for (const size_t limit : {size_t{100}, size_t{250} * 1024}) { // no index at all; none that grows
            platform &p = make(items);
            largest_allocation = limit;
            p.build();
            largest_allocation = SIZE_MAX;
            EXPECT_TRUE(indexed.on() == p.on()) << limit;
        }
    });
    EXPECT_TRUE(indexed.on() == walked.on() && indexed.on() == grown.on());
    std::istringstream words(indexed.on());
    std::multiset<std::string> found{std::istream_iterator<std::string>(words), {}};
    std::set<std::string> muxes;
    for (const item &device : items) {
        const std::string path = device.id.substr(0, device.id.rfind('.') + 1);
        if (device.mux_type != nullptr) {
            muxes.insert(device.id);
            EXPECT_EQ(found.count(path + "[" + device.id + "*]"), 1u) << device.id;
        } else if (device.id.find("D") != std::string::npos && device.id != "M1-3x.D") {
            EXPECT_GE(found.count(path + "|" + device.id), 1u) << device.id;
        }
    }
    const std::string listed = indexed.on().substr(indexed.on().find(':'));
    EXPECT_EQ(static_cast<size_t>(std::count(listed.begin(), listed.end(), '=')), muxes.size());
}

TEST(Tree, EveryFailedAllocationIsToldAndLeavesATreeThatCanGrowOn)
{
    const std::string node = error_line(check, "Couldn't allocate memory\n"),
                      entry = error_line(build, "Couldn't allocate memory\n");
    const std::string mux = error_line(enter, "Couldn't allocate memory for new mux node\n");
    const std::string cases[][2] = {
        {node + error_line(walk, "Invalid tree\n") + node + entry, ":"},
        {error_line(walk, "Couldn't allocate space for node \n") + mux + entry, "[M1*] :"},
        {node + mux + entry, "[M1*] M1-1. :"},
        {mux + entry, "[M1*] M1-1. M1-1.|M1-1.D :"},
        {entry, "[M1*] M1-1. M1-1.|M1-1.D :M1=10 "},
        {"", "|E [M1*] M1-1. M1-1.|M1-1.D :M1=10 "}};
    for (int n = 0; n < 6; n++) {
        platform &p = make({{"M1-1.D"}, {"M1", "PCA9541"}, {"E"}});
        EXPECT_EQ(told(n < 5 ? DIAG_ERR_NO_MEMORY : 0,
                       [&] {
                           allocations_left = n;
                           const uint32_t status = p.build();
                           allocations_left = INT_MAX;
                           return status;
                       }),
                  cases[n][0]);
        EXPECT_EQ(p.on(), cases[n][1]);
        EXPECT_EQ(p.build(), 0u);
        EXPECT_TRUE(p.on().starts_with(n < 5 ? "|E [M1*] M1-1. M1-1.|M1-1.D " : "|E |E [M1*]")) << p.on();
    }
}

} // namespace
