/* SPDX-License-Identifier: MIT */
// The platform tree: a flag byte, then a line for each descriptor: IDENTIFIER|INTERFACE|MUX TYPE, where what
// is left out is null. The last third is put in twice: its muxes and channels are there, in lists longer than
// it.
#include "support.h"

enum flag : uint8_t { daemon_record = 0x01, verbose = 0x02, no_record = 0x04 };

template <typename Node, typename Release> void free_list(Node *node, Release release_inner)
{
    while (node != nullptr) {
        Node *next = node->next;
        release_inner(*node);
        free(node);
        node = next;
    }
}

void free_tree(const if_tree &tree)
{
    free_list(tree.devs, [](dev_entry &) {});
    free_list(tree.muxes, [](mux_tree &mux) {
        require(memchr(mux.name, '\0', sizeof mux.name) != nullptr);
        require(mux.is_mux == (mux.dev != nullptr));
        free_list(mux.channels, [](mux_channel &channel) { free_tree(channel.tree); });
    });
}

struct descriptors {
    std::vector<text_ptr> texts; // of the descriptors, which point to them
    std::vector<pf_dev> devs;
};

const char *next_text(descriptors *list, std::string_view *line)
{
    return list->texts.emplace_back(copy_of(next_part(line, '|'))).get();
}

void read_lines(descriptors *list, std::string_view rest)
{
    while (!rest.empty()) {
        std::string_view line = next_part(&rest, '\n');
        pf_dev &dev = list->devs.emplace_back();
        dev.dev_id = next_text(list, &line);
        dev.interface = next_text(list, &line);
        dev.mux_type = next_text(list, &line);
    }
    for (size_t i = 1; i < list->devs.size(); i++) {
        list->devs[i - 1].next = &list->devs[i];
    }
}

void try_input(std::string_view rest)
{
    const uint8_t flags = next_byte(&rest);
    descriptors list;
    pf_tree tree{};
    proc_info record{};

    read_lines(&list, rest);
    set_verb_level((flags & verbose) != 0 ? 3 : -1);
    pf_dev *const devs = list.devs.data();
    const size_t count = list.devs.size();
    for (pf_dev *from : {devs, devs + (count - count / 3)}) {
        update_pf_tree(from != devs + count ? from : nullptr, &tree, (flags & daemon_record) != 0,
                       (flags & no_record) != 0 ? nullptr : &record);
    }
    for (const if_tree *each : {&tree.pci, &tree.lpc, &tree.mem, &tree.gpio}) {
        free_tree(*each);
    }
    for (const if_tree &each : tree.i2c) {
        free_tree(each);
    }
    for (const proc_i2c_if &each : record.i2c) {
        free_list(each.muxes, [](proc_mux_node &) {});
    }
}
