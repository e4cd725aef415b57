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
/// The link up to which a list has been indexed; `start` when it has not.
void *index_resume(const tree_index *index, const void *list, void *start);
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

/// Most lists are short: so many elements are walked before the index is asked, and only what is behind them
/// is filed in it.
inline constexpr int unindexed_length = 4;

/// Searches the elements that are not filed, on from `link` up to `limit` of them. Those passed are filed
/// when `index` is given.
template <typename Node>
search<Node> search_on(Node **link, int limit, const item_key &wanted, tree_index *index, const void *list)
{
    for (int n = 0; n != limit && *link != nullptr && !is_broken(**link); n++) {
        const item_key key = key_of(**link);
        if (same_key(key, wanted)) {
            return {*link, link};
        }
        index_add(index, list, key, *link);
        link = &(*link)->next;
    }
    return {nullptr, link};
}

template <typename Node> search<Node> find(tree_index *index, Node **head, const item_key &wanted)
{
    search<Node> result = search_on<Node>(head, unindexed_length, wanted, nullptr, nullptr);
    if (result.found != nullptr || *result.end == nullptr || is_broken(**result.end)) {
        return result;
    }
    auto *filed = static_cast<Node *>(index_get(index, head, wanted));
    if (filed != nullptr) {
        return {filed, nullptr};
    }
    auto **link = static_cast<Node **>(index_resume(index, head, result.end));
    result = search_on<Node>(link, -1, wanted, index, head);
    index_set_resume(index, head, result.end);
    return result;
}

/// The link at the end of a list.
template <typename Node> Node **tail_of(tree_index *index, Node **head)
{
    Node **link = head;
    for (int n = 0; n < unindexed_length && *link != nullptr; n++) {
        link = &(*link)->next;
    }
    if (*link == nullptr) {
        return link;
    }
    link = static_cast<Node **>(index_resume(index, head, link));
    while (*link != nullptr) {
        link = &(*link)->next;
    }
    index_set_resume(index, head, link);
    return link;
}

} // namespace boarddiag

#endif
