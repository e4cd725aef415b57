/* SPDX-License-Identifier: MIT */
// An index over the singly linked lists of a tree, for the length of one call: with it, finding an element
// or the end of a list does not depend on the list's length. The lists stay the truth. The index follows them
// lazily, walking each element once, and without it (null, never opened, or given up for want of memory)
// everything works the same by walking from the head.
#ifndef BOARDDIAG_DEVTREE_TREE_INDEX_H
#define BOARDDIAG_DEVTREE_TREE_INDEX_H

#include <cstddef>
#include <cstdint>

#include <boarddiag/devtree.h>

namespace boarddiag {

/// What tells the elements of one list apart: a text, or with a null text a number.
struct item_key {
    const char *text;
    int32_t number;
};

struct index_slot {
    const void *list; // the address of the list's head pointer; null in a free slot
    item_key key;
    uint32_t hash;
    void *item;
};

struct tree_index {
    index_slot *slots;
    size_t capacity; // a power of two, or 0 when the index is not in use
    size_t used;
};

/// Makes an index for about `items` list elements. When memory is short it stays out of use.
void index_open(tree_index *index, size_t items);
/// Releases what the index holds, never the lists.
void index_close(tree_index *index);

/// The item filed for this key of this list, null when there is none.
void *index_get(const tree_index *index, const void *list, const item_key &key);
/// Files an item unless the key has one already: the first element of a list wins.
void index_add(tree_index *index, const void *list, const item_key &key, void *item);
/// The link up to which a list has been indexed; its head when it has not.
void *index_resume(const tree_index *index, void *list);
void index_set_resume(tree_index *index, const void *list, void *link);

bool same_key(const item_key &a, const item_key &b);

/// Key of a node: a registered mux is known by its descriptor's identifier, any other node by its name.
item_key key_of(const mux_tree &node);
item_key key_of(const mux_channel &channel);
/// A node that makes its list unsearchable: registered as a mux, but without a descriptor.
bool is_broken(const mux_tree &node);
bool is_broken(const mux_channel &channel);

/// The first element found, or null and the link where the search ended: the list's open end or a broken
/// element.
template <typename Node> struct search {
    Node *found;
    Node **end;
};

template <typename Node> search<Node> find(tree_index *index, Node **head, const item_key &wanted)
{
    auto *found = static_cast<Node *>(index_get(index, head, wanted));
    if (found != nullptr) {
        return {found, nullptr};
    }
    auto **link = static_cast<Node **>(index_resume(index, head));
    while (*link != nullptr && !is_broken(**link)) {
        const item_key key = key_of(**link);
        if (same_key(key, wanted)) {
            found = *link;
            break;
        }
        index_add(index, head, key, *link);
        link = &(*link)->next;
    }
    index_set_resume(index, head, link);
    if (found != nullptr) {
        index_add(index, head, wanted, found);
    }
    return {found, link};
}

/// The link at the end of a list.
template <typename Node> Node **tail_of(tree_index *index, Node **head)
{
    auto **link = static_cast<Node **>(index_resume(index, head));
    while (*link != nullptr) {
        link = &(*link)->next;
    }
    index_set_resume(index, head, link);
    return link;
}

} // namespace boarddiag

#endif
