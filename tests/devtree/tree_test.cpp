/* SPDX-License-Identifier: MIT */
#include <algorithm>
#include <boarddiag.h>
#include <climits>
#include <gtest/gtest.h>
#include <random>

#include "support/capture.h"

using diagtest::console_of;
using diagtest::error_line;

extern int allocations_left;
int allocations_left = INT_MAX;

namespace {

size_t largest_allocation = SIZE_MAX;

} // namespace

extern "C" void *__real_calloc(size_t count, size_t size);
extern "C" void *__wrap_calloc(size_t count, size_t size)
{
    if (allocations_left <= 0 || count * size > largest_allocation) {
        return nullptr;
    }
    allocations_left--;
    return __real_calloc(count, size);
}

namespace {

// "devices{node*<channel:...>node}": a "*" marks a registered mux, whose descriptor's identifier is shown.
std::string shown(const if_tree &tree)
{
    std::string text;
    for (const dev_entry *entry = tree.devs; entry != nullptr; entry = entry->next) {
        text += std::string(entry->dev->dev_id) + " ";
    }
    for (const mux_tree *node = tree.muxes; node != nullptr; node = node->next) {
        EXPECT_EQ(node->is_mux, node->dev != nullptr);
        text += "{" + (node->is_mux ? node->dev->dev_id + std::string("*") : node->name);
        for (const mux_channel *channel = node->channels; channel != nullptr; channel = channel->next) {
            text += "<" + std::to_string(channel->sel) + ":" + shown(channel->tree) + ">";
        }
        text += "}";
    }
    return text;
}

template <typename Node> void free_list(Node *node)
{
    while (node != nullptr) {
        Node *next = node->next;
        free(node);
        node = next;
    }
}

void free_tree(const if_tree &tree)
{
    for (const mux_tree *node = tree.muxes; node != nullptr; node = node->next) {
        for (const mux_channel *channel = node->channels; channel != nullptr; channel = channel->next) {
            free_tree(channel->tree);
        }
        free_list(node->channels);
    }
    free_list(tree.devs);
    free_list(tree.muxes);
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

    explicit platform(const std::vector<item> &list) : items(list), devs(list.size())
    {
        for (size_t i = 0; i < devs.size(); i++) {
            devs[i] = {items[i].id.c_str(), items[i].interface, items[i].mux_type,
                       i + 1 < devs.size() ? &devs[i + 1] : nullptr};
        }
    }
    platform(const platform &) = delete;
    ~platform()
    {
        for (const if_tree *part : {&tree.pci, &tree.lpc, &tree.mem, &tree.gpio}) {
            free_tree(*part);
        }
        std::for_each(std::begin(tree.i2c), std::end(tree.i2c), free_tree);
        std::for_each(std::begin(proc.i2c), std::end(proc.i2c), [](auto &i2c) { free_list(i2c.muxes); });
    }
    uint32_t build()
    {
        return update_pf_tree(devs.data(), &tree, true, &proc);
    }
    std::string listed(int if_num = 0) const
    {
        std::string text;
        for (const proc_mux_node *node = proc.i2c[if_num].muxes; node != nullptr; node = node->next) {
            text += node->dev->dev_id + std::string("=") + std::to_string(node->mux_param) + " ";
        }
        return text;
    }
};

const std::string long_name(33, 'N');
const std::string long_path = "M-1.M-2.M-3.M-4.M-5.M-6.M-7.DEVIC"; // 33 characters

TEST(Tree, AMuxAndItsDescriptorMeetInEitherOrder)
{
    std::vector<item> items{{"M1", "PCA9548"}, {"M1-3.M2", "x PCA9541 y"}, {"M1-3.M2-1.TEMP"}};
    std::vector<size_t> order{0, 1, 2};
    do {
        platform p({items[order[0]], items[order[1]], items[order[2]]});
        EXPECT_EQ(p.build(), 0u);
        EXPECT_EQ(shown(p.tree.i2c[0]), "{M1*<2:{M1-3.M2*<0:M1-3.M2-1.TEMP >}>}");
        const bool m1_first = order[0] == 0 || (order[0] == 2 && order[1] == 0);
        EXPECT_EQ(p.listed(), m1_first ? "M1=0 M1-3.M2=10 " : "M1-3.M2=10 M1=0 ");
        EXPECT_EQ(p.build(), 0u);
        EXPECT_EQ(shown(p.tree.i2c[0]), "{M1*<2:{M1-3.M2*<0:M1-3.M2-1.TEMP M1-3.M2-1.TEMP >}>}");
    } while (std::next_permutation(order.begin(), order.end()));
}

TEST(Tree, IdentifiersAndTheirPaths)
{
    const char *const function = "update_dev_mux_interface_tree";
    const std::string format = error_line(function, "Invalid device-id format. \n");
    const struct {
        std::string id, tree, told;
    } cases[] = {
        {"EEPROM", "EEPROM ", ""},
        {"EEPROM-", "EEPROM- ", ""},
        {"--EEPROM", "--EEPROM ", ""},
        {"", " ", ""},
        {"M-3", "{M<2:M-3 >}", ""},
        {"M-a.D", "{M<9:M-a.D >}", ""},
        {"M-0x1F.D", "{M<30:M-0x1F.D >}", ""},
        {"M-0.D", "{M<-1:M-0.D >}", ""},
        {"M--2.D", "{M<-3:M--2.D >}", ""},
        {"M-ffffffff.D", "{M<-2:M-ffffffff.D >}", ""},
        {"--M-...3.-D", "{M<2:--M-...3.-D >}", ""},
        {"M-3.--N-..1.D", "{M<2:{M-3.N<0:M-3.--N-..1.D >}>}", ""},
        {"M-3..N-1.D", "{M<2:{M-3..N<0:M-3..N-1.D >}>}", ""},
        {"M-3.N-", "{M<2:M-3.N- >}", ""},
        {"M-3x.D", "{M}", format},
        {"M--", "{M}", format},
        {"M-3.N--", "{M<2:{M-3.N}>}", format},
        {"M- ", "{M}", format},
        {"M-..", "{M}", error_line(function, "Invalid dev id\n")},
        {long_path.substr(0, 32), "{M<0:{M-1.M<1:{M-1.M-2.M<2:{M-1.M-2.M-3.M<3:", ""},
        {long_path, "", error_line(function, "Device id " + long_path + " is longer than 32 characters\n")},
        {"-" + long_name, "-" + long_name + " ", ""},
        {"M-1." + std::string(26, 'x') + "-1", "{M<0:{M-1." + std::string(26, 'x') + "<0:", ""},
    };
    for (const auto &c : cases) {
        platform p({{c.id}});
        EXPECT_EQ(console_of([&] {
                      EXPECT_EQ(
                          update_dev_mux_interface_tree(p.devs.data(), 0, &p.tree.i2c[0], false, nullptr),
                          c.told.empty() ? 0 : DIAG_ERR_INVALID_ARG);
                  }),
                  c.told);
        EXPECT_TRUE(shown(p.tree.i2c[0]).starts_with(c.tree)) << shown(p.tree.i2c[0]);
    }
}

TEST(Tree, InterfacesDecideWhereADeviceGoesAndWhatEndsTheWalk)
{
    const std::string list = "update_pf_tree";
    const auto above = [](const char *number) {
        return "update_pf_tree[#]: Interface num " + std::string(number) +
               " exceeded max allowed I2C if no 25\n";
    };
    const struct {
        item device;
        std::string told; // what ends the walk
    } cases[] = {
        {{"D", nullptr, "i2c-25"}, ""},
        {{"D", nullptr, "my i2c bus - 3"}, ""},
        {{"D", nullptr, "i2c-26"}, above("26")},
        {{"D", nullptr, "i2c--1"}, above("-1")},
        {{"D", nullptr, "i2c-18446744073709551617"}, above("18446744073709551617")},
        {{"D", nullptr, "i2c"}, error_line(list, "Invalid interface i2c\n")},
        {{"D", "PCA9541", "pci"}, ""},
        {{"D", nullptr, "usb"}, ""},
    };
    set_verb_level(3);
    for (const auto &c : cases) {
        platform p({c.device,
                    {"P", nullptr, "pci mem"},
                    {"M", nullptr, "mem"},
                    {"L", nullptr, "lpc"},
                    {"G", nullptr, "gpio"},
                    {long_name, nullptr, "i2c-1"}});
        const auto told =
            console_of([&] { EXPECT_EQ(p.build(), c.told.empty() ? 0 : DIAG_ERR_INVALID_ARG); });
        EXPECT_EQ(told, c.told.empty() ? "I2C tree building completed\n" : c.told);
        EXPECT_EQ(shown(p.tree.pci) + shown(p.tree.mem) + shown(p.tree.lpc) + shown(p.tree.gpio) +
                      shown(p.tree.i2c[1]),
                  c.told.empty() ? "P M L G " + long_name + " " : "");
        EXPECT_EQ(shown(p.tree.i2c[25]), c.device.interface == std::string("i2c-25") ? "D " : "");
    }
    set_verb_level(0);
}

TEST(Tree, AFailedDescriptorDoesNotEndTheWalkAndTheLastStatusCounts)
{
    const std::string over_limit =
        error_line("add_mux_entry_to_proc_info",
                   "Configured interface num 25 is > max no of interfaces [24] configured\n");
    platform p(
        {{"M1", "PCA9547", "i2c-25"}, {"M2", "LTC4306"}, {"M2", "PCA9541"}, {"D-x"}, {long_name, "PCA9541"}});
    const auto told = console_of([&] { EXPECT_EQ(p.build(), DIAG_ERR_INVALID_ARG); });
    EXPECT_EQ(told, over_limit + error_line("add_mux_entry_to_proc_info", "mux_type LTC4306 is invalid\n") +
                        error_line("update_dev_mux_interface_tree", "Invalid device-id format. \n") +
                        error_line("check_add_mux_entry",
                                   "Device id " + long_name + " is longer than 32 characters\n"));
    EXPECT_EQ(shown(p.tree.i2c[0]) + shown(p.tree.i2c[25]) + p.listed(), "{M2*}{D}{M1*}M2=-1 ");
    platform healed({{"D-x"}, {"M-1.D"}});
    console_of([&] { EXPECT_EQ(healed.build(), 0u); });
}

TEST(Tree, RefusalsOfTheSingleSteps)
{
    platform p({{"M", "PCA9541"}, {"M-1.D"}});
    if_tree &tree = p.tree.i2c[0];
    mux_tree *node = nullptr;
    const auto refused = [](const char *function, const char *message, auto call) {
        EXPECT_EQ(console_of([&] { EXPECT_EQ(call(), DIAG_ERR_INVALID_ARG); }),
                  error_line(function, message));
    };
    const auto add = [&](if_tree *container, pf_dev *dev, const char *name, bool daemon) {
        return check_add_mux_entry(container, dev, name, 0, &node, true, daemon, nullptr);
    };
    const char *const check = "check_add_mux_entry";
    refused(check, "Pointers received are NULL \n", [&] { return add(nullptr, &p.devs[0], "M", true); });
    refused(check, "Pointers received are NULL \n", [&] { return add(&tree, nullptr, "M", true); });
    refused(check, "Pointers received are NULL \n", [&] { return add(&tree, &p.devs[0], nullptr, true); });
    refused(check, "Proc info pointers should not be null for devid daemon\n",
            [&] { return add(&tree, &p.devs[0], "M", true); });
    refused("update_dev_mux_interface_tree", "Received is a NULL pointer\n",
            [&] { return update_dev_mux_interface_tree(nullptr, 0, &tree, false, nullptr); });
    EXPECT_EQ(add(&tree, &p.devs[0], "M", false), 0u);
    EXPECT_TRUE(node == tree.muxes && node->is_mux);
    node->dev = nullptr; // a registered mux without its descriptor
    refused(check, "Invalid tree\n", [&] { return add(&tree, &p.devs[0], "N", false); });
    EXPECT_EQ(console_of([&] { EXPECT_EQ(p.build(), DIAG_ERR_INVALID_ARG); }),
              error_line(check, "Invalid tree\n") + error_line(check, "Invalid tree\n") +
                  error_line("update_dev_mux_interface_tree", "Invalid tree\n"));
    EXPECT_EQ(console_of([] { set_mux_tree_defaults(nullptr); }),
              error_line("set_mux_tree_defaults", "Mux tree is NULL pointer\n"));
    mux_tree filled{&p.devs[0], "kept", true, node->channels, node};
    set_mux_tree_defaults(&filled);
    EXPECT_TRUE(filled.dev == nullptr && !filled.is_mux && filled.next == nullptr);
    EXPECT_STREQ(filled.name, "kept");
    node->is_mux = false;
}

// Whether a well-formed device is where its own path says.
bool is_reachable(const if_tree *tree, const std::string &id)
{
    size_t from = 0;
    for (size_t dash = id.find('-'); dash != std::string::npos; dash = id.find('-', from)) {
        const mux_tree *node = tree->muxes;
        while (node != nullptr && id.substr(0, dash) != node->name) {
            node = node->next;
        }
        const int sel = std::stoi(id.substr(dash + 1), nullptr, 16) - 1;
        const mux_channel *channel = node != nullptr ? node->channels : nullptr;
        while (channel != nullptr && channel->sel != sel) {
            channel = channel->next;
        }
        if (channel == nullptr) {
            return false;
        }
        tree = &channel->tree;
        from = id.find('.', dash) + 1;
    }
    for (const dev_entry *entry = tree->devs; entry != nullptr; entry = entry->next) {
        if (entry->dev->dev_id == id) {
            return true;
        }
    }
    return false;
}

std::vector<item> random_items(size_t count)
{
    std::mt19937 random(20240);
    std::vector<item> items;
    const char *const malformed[] = {"M1-3x.D", "M2-.", "M1-1.M1-", "M3--", "-", "M2-1.M9-g.X", "M1-1."};
    while (items.size() < count) {
        std::string path;
        const auto hops = random() % 4;
        for (unsigned n = 0; n < hops; n++) {
            path += "M" + std::to_string(random() % 12) + "-" + "123456789abc"[random() % 12] + ".";
        }
        const auto kind = random() % 8;
        if (kind == 0) {
            items.push_back({malformed[random() % 7]});
        } else if (kind < 4) {
            items.push_back({path + "M" + std::to_string(random() % 12), "PCA9548"});
        } else {
            items.push_back({path + "D" + std::to_string(random() % 100)});
        }
    }
    return items;
}

TEST(Tree, RandomListsKeepTheInvariantsWithAndWithoutTheIndex)
{
    const auto items = random_items(3000);
    platform indexed(items), walked(items), grown(items);
    set_verb_level(-1);
    console_of([&] {
        indexed.build();
        for (pf_dev &dev : walked.devs) {
            update_dev_mux_interface_tree(&dev, 0, &walked.tree.i2c[0], true, &walked.proc);
        }
        grown.devs[999].next = nullptr; // the second call meets a tree
        grown.build();
        update_pf_tree(&grown.devs[1000], &grown.tree, true, &grown.proc);
    });
    const std::string text = shown(indexed.tree.i2c[0]);
    EXPECT_TRUE(text == shown(walked.tree.i2c[0]) && text == shown(grown.tree.i2c[0]));
    EXPECT_TRUE(indexed.listed() == walked.listed() && indexed.listed() == grown.listed());
    std::string muxes;
    for (const item &device : items) {
        if (device.mux_type == nullptr && device.id.find('D') != std::string::npos &&
            device.id != "M1-3x.D") {
            EXPECT_TRUE(is_reachable(&indexed.tree.i2c[0], device.id)) << device.id;
        } else if (device.mux_type != nullptr &&
                   (" " + muxes).find(" " + device.id + "=") == std::string::npos) {
            muxes += device.id + "=0 ";
        }
    }
    EXPECT_EQ(indexed.listed(), muxes);
}

TEST(Tree, EveryFailedAllocationIsToldAndLeavesATreeThatCanGrowOn)
{
    const char *const add = "check_add_mux_entry";
    const std::string no_node = error_line(add, "Couldn't allocate memory\n");
    const std::string no_tree = no_node + error_line("update_dev_mux_interface_tree", "Invalid tree\n");
    const std::string no_space =
        error_line("update_dev_mux_interface_tree", "Couldn't allocate space for node \n");
    const std::string no_mux =
        error_line("add_mux_entry_to_proc_info", "Couldn't allocate memory for new mux node\n");
    const std::string no_entry = error_line("update_pf_tree", "Couldn't allocate memory\n");
    const struct {
        uint32_t status;
        std::string told, tree;
    } cases[] = {
        {DIAG_ERR_NO_MEMORY, no_tree + no_node + no_entry, ""},
        {DIAG_ERR_NO_MEMORY, no_space + no_mux + no_entry, "{M1*}"},
        {DIAG_ERR_NO_MEMORY, no_node + no_mux + no_entry, "{M1*<0:>}"},
        {DIAG_ERR_NO_MEMORY, no_mux + no_entry, "{M1*<0:M1-1.D >}"},
        {DIAG_ERR_NO_MEMORY, no_entry, "{M1*<0:M1-1.D >}"},
        {0, "", "E {M1*<0:M1-1.D >}"},
    };
    for (int n = 0; n < 6; n++) {
        platform p({{"M1-1.D"}, {"M1", "PCA9541"}, {"E"}});
        const auto told = console_of([&] {
            allocations_left = n;
            EXPECT_EQ(p.build(), cases[n].status) << n;
            allocations_left = INT_MAX;
        });
        EXPECT_EQ(told, cases[n].told);
        EXPECT_EQ(shown(p.tree.i2c[0]), cases[n].tree);
        EXPECT_EQ(p.build(), 0u);
        EXPECT_TRUE(is_reachable(&p.tree.i2c[0], "M1-1.D") && is_reachable(&p.tree.i2c[0], "E"));
    }
}

TEST(Tree, AnIndexThatFindsNoMemoryAtFirstOrLaterIsDoneWithout)
{
    const auto items = random_items(400);
    platform whole(items);
    console_of([&] { whole.build(); });
    for (const size_t limit : {size_t{100}, size_t{32} * 1024}) { // none at all; no growth
        platform p(items);
        console_of([&] {
            largest_allocation = limit;
            p.build();
            largest_allocation = SIZE_MAX;
        });
        EXPECT_EQ(shown(p.tree.i2c[0]), shown(whole.tree.i2c[0]));
        EXPECT_EQ(p.listed(), whole.listed());
    }
}

} // namespace
