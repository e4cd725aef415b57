/* SPDX-License-Identifier: MIT */
// Building the device tree: time in proportion to the number of devices.
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <string>

#include <boarddiag.h>

#include "bench/measure.h"

namespace {

// Devices spread over three levels of multiplexers with eight channels each, on all interfaces.
struct platform {
    std::deque<std::string> texts;
    std::vector<struct pf_dev> devices;

    const char *text(const std::string &value)
    {
        return texts.emplace_back(value).c_str();
    }

    explicit platform(int count)
    {
        for (int i = 0; i < count; i++) {
            const auto channel = [](int n) { return std::to_string(n % 8 + 1); };
            const std::string id = "A-" + channel(i / 26) + ".B-" + channel(i / 208) + ".C-" +
                                   channel(i / 1664) + ".D" + std::to_string(i);
            devices.push_back({text(id), text("i2c-" + std::to_string(i % 26)), nullptr, nullptr});
        }
        for (size_t i = 0; i + 1 < devices.size(); i++) {
            devices[i].next = &devices[i + 1];
        }
    }
};

void free_tree(struct if_tree &tree)
{
    for (struct dev_entry *entry = tree.devs; entry != nullptr;) {
        struct dev_entry *next = entry->next;
        free(entry);
        entry = next;
    }
    for (struct mux_tree *mux = tree.muxes; mux != nullptr;) {
        for (struct mux_channel *channel = mux->channels; channel != nullptr;) {
            struct mux_channel *next = channel->next;
            free_tree(channel->tree);
            free(channel);
            channel = next;
        }
        struct mux_tree *next = mux->next;
        free(mux);
        mux = next;
    }
}

double build(platform &p)
{
    static struct pf_tree tree;
    uint32_t status = 0;
    const double taken =
        bench::seconds([&] { status = update_pf_tree(p.devices.data(), &tree, false, nullptr); });

    if (status != 0) {
        fprintf(stderr, "bench: update_pf_tree failed\n");
        exit(1);
    }
    for (struct if_tree &interface : tree.i2c) {
        free_tree(interface);
        interface = {};
    }
    return taken;
}

} // namespace

std::vector<bench::figure> bench::tree_figures()
{
    static platform small(8000), large(16000);

    return {{"update_pf_tree of 16,000 devices, three mux levels", "the same of 8,000 devices",
             bound::at_most, 2.3, [] { return build(large); }, [] { return build(small); }}};
}
