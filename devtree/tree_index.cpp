/* SPDX-License-Identifier: MIT */
#include "devtree/tree_index.h"

#include <bit>
#include <cstdlib>
#include <cstring>

namespace {

using boarddiag::index_slot;
using boarddiag::item_key;
using boarddiag::tree_index;

constexpr size_t min_capacity = 256;
constexpr uint64_t mix_factor = 0x9e3779b97f4a7c15u;

// Files the link up to which a list is indexed: no element has both a text and a number other than 0.
constexpr item_key resume_key{"", 1};

uint32_t hash_of(const void *list, const item_key &key)
{
    uint64_t hash = reinterpret_cast<uintptr_t>(list) ^ static_cast<uint32_t>(key.number) * mix_factor;
    for (const char *c = key.text; c != nullptr && *c != '\0'; c++) {
        hash = (hash ^ static_cast<unsigned char>(*c)) * mix_factor;
    }
    hash *= mix_factor;
    return static_cast<uint32_t>(hash >> 32);
}

// The slot of a key: the one that holds it, or the free one where it belongs.
[[gnu::noinline]] index_slot *slot_for(const tree_index *index, const void *list, const item_key &key,
                                       uint32_t hash)
{
    const size_t mask = index->capacity - 1;
    for (size_t i = hash & mask;; i = (i + 1) & mask) {
        index_slot *slot = &index->slots[i];
        if (slot->list == nullptr || (slot->hash == hash && slot->list == list && same_key(slot->key, key))) {
            return slot;
        }
    }
}

// At least half of the slots stay free. Without memory to grow the whole index is given up: an index that
// knows only some elements would hide the others.
bool has_room(tree_index *index)
{
    if (2 * (index->used + 1) <= index->capacity) {
        return true;
    }
    tree_index larger{};
    index_open(&larger, index->capacity);
    for (size_t i = 0; larger.capacity != 0 && i < index->capacity; i++) {
        const index_slot &slot = index->slots[i];
        if (slot.list != nullptr) {
            *slot_for(&larger, slot.list, slot.key, slot.hash) = slot;
        }
    }
    larger.used = index->used;
    index_close(index);
    *index = larger;
    return index->capacity != 0;
}

[[gnu::noinline]] void put(tree_index *index, const void *list, const item_key &key, void *item, bool replace)
{
    if (index == nullptr || index->capacity == 0 || !has_room(index)) {
        return;
    }
    const uint32_t hash = hash_of(list, key);
    index_slot *slot = slot_for(index, list, key, hash);
    if (slot->list == nullptr) {
        *slot = {list, key, hash, item};
        index->used++;
    } else if (replace) {
        slot->item = item;
    }
}

} // namespace

void boarddiag::index_open(tree_index *index, size_t items)
{
    const size_t capacity = std::bit_ceil(items < min_capacity / 2 ? min_capacity : 2 * items);
    auto *slots = static_cast<index_slot *>(calloc(capacity, sizeof(index_slot)));
    *index = {slots, slots != nullptr ? capacity : 0, 0};
}

void boarddiag::index_close(tree_index *index)
{
    free(index->slots);
    *index = {};
}

void *boarddiag::index_get(const tree_index *index, const void *list, const item_key &key)
{
    if (index == nullptr || index->capacity == 0) {
        return nullptr;
    }
    const index_slot *slot = slot_for(index, list, key, hash_of(list, key));
    return slot->list != nullptr ? slot->item : nullptr;
}

void boarddiag::index_add(tree_index *index, const void *list, const item_key &key, void *item)
{
    put(index, list, key, item, false);
}

void *boarddiag::index_resume(const tree_index *index, const void *list, void *start)
{
    void *link = index_get(index, list, resume_key);
    return link != nullptr ? link : start;
}

void boarddiag::index_set_resume(tree_index *index, const void *list, void *link)
{
    put(index, list, resume_key, link, true);
}

bool boarddiag::same_key(const item_key &a, const item_key &b)
{
    if (a.number != b.number || (a.text == nullptr) != (b.text == nullptr)) {
        return false;
    }
    return a.text == b.text || strcmp(a.text, b.text) == 0;
}

boarddiag::item_key boarddiag::key_of(const mux_tree &node)
{
    const char *text = node.is_mux ? node.dev->dev_id : node.name;
    return {text != nullptr ? text : "", 0};
}

boarddiag::item_key boarddiag::key_of(const mux_channel &channel)
{
    return {nullptr, channel.sel};
}

bool boarddiag::is_broken(const mux_tree &node)
{
    return node.is_mux && node.dev == nullptr;
}

bool boarddiag::is_broken(const mux_channel &)
{
    return false;
}
