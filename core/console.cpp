/* SPDX-License-Identifier: MIT */
// What test programs present on the console: hex dumps, fill strings, verdicts and parsed trees.
#include <algorithm>
#include <array>
#include <bit>
#include <cstdlib>
#include <cstring>
#include <libxml/tree.h>
#include <span>
#include <string_view>

#include <boarddiag/core.h>

#include "core/printable.h"
#include "core/report.h"

namespace {

// ---- Hex dumps ----

constexpr size_t line_bytes = 16;

// How items of one width show: a four-byte item has at least as many digits as told, and up to eight.
struct item_format {
    uint8_t width;
    uint32_t min_digits;
    char separator; // behind the last item of a group
    uint32_t group_max;
};

constexpr item_format item_formats[] = {{1, 2, ' ', 62}, {2, 4, '\t', 30}, {4, 4, '\t', 30}};

// A group of 30 four-byte items of eight digits, with its prefix and separator, is the longest.
constexpr size_t group_size = 2 + 30 * 8 + 1;
// A line holds its label, a group that began on lines before, groups of its own, the ASCII column and its
// end.
constexpr size_t line_size = 12 + group_size + line_bytes * 5 + 4 + line_bytes + 1;
static_assert(line_size < 1024, "a line is one message, which must not be cut");

struct dump {
    const uint8_t *data;
    uint32_t length;
    uint32_t base;
    bool show_addr;
    const item_format *format;
    uint32_t group_items;
    int level;
    bool in_pieces;           // each label, group and character is a message
    uint32_t items;           // in the open group; 0 when none is open
    char *group;              // where the open group starts in `line`
    char *end;                // behind what `line` holds
    char line[line_size + 1]; // and a terminator
    size_t carried;           // characters of an open group between two lines
    char carry[group_size];
};

const item_format *find_format(uint8_t width)
{
    const auto *const end = std::end(item_formats);
    const auto *const found = std::find_if(std::begin(item_formats), end,
                                           [=](const auto &format) { return format.width == width; });

    return found == end ? nullptr : found;
}

uint32_t items_per_group(int group_bits, const item_format &format)
{
    return static_cast<uint32_t>(std::clamp(group_bits / 8, 1, static_cast<int>(format.group_max)));
}

char *put_text(char *to, std::string_view text)
{
    memcpy(to, text.data(), text.size());
    return to + text.size();
}

char *put_hex(char *to, uint32_t value, uint32_t digits)
{
    for (uint32_t shift = 4 * digits; shift != 0;) {
        shift -= 4;
        *to++ = "0123456789abcdef"[value >> shift & 0xf];
    }
    return to;
}

void send_line(dump &d)
{
    if (d.end != d.line) {
        *d.end = '\0';
        boarddiag::print_text(d.level, d.line);
        d.end = d.line;
    }
}

// Each piece is a message: in the system log an entry, as an error with its mark. On the console alone a line
// shows the same whole, and costs one message instead of thirty.
void end_piece(dump &d)
{
    if (d.in_pieces) {
        send_line(d);
    }
}

void put_label(dump &d, uint32_t offset)
{
    d.end = put_text(d.end, "[");
    d.end = put_hex(d.end, d.base + offset, 8);
    d.end = put_text(d.end, "]: ");
    end_piece(d);
}

void close_group(dump &d)
{
    d.items = 0;
    end_piece(d);
}

// The bytes that an item lacks at the end of the data are 0; none beyond is read.
uint32_t item_at(const dump &d, uint64_t offset)
{
    const uint64_t end = std::min<uint64_t>(offset + d.format->width, d.length);
    uint32_t value = 0;

    for (uint32_t shift = 0; offset < end; offset++, shift += 8) {
        value |= static_cast<uint32_t>(d.data[offset]) << shift;
    }
    return value;
}

void add_item(dump &d, uint32_t value)
{
    const auto digits = static_cast<uint32_t>(std::bit_width(value) + 3) / 4;
    char *end = d.end;

    if (d.items == 0) {
        d.group = end;
        end = put_text(end, "0x");
    }
    d.end = put_hex(end, value, std::max(digits, d.format->min_digits));
    d.items++;
    if (d.items == d.group_items) {
        *d.end++ = d.format->separator;
        close_group(d);
    }
}

// A group that is open at the end of a line is taken out of it, and printed where it ends.
void suspend_group(dump &d)
{
    d.carried = static_cast<size_t>(d.end - d.group);
    memcpy(d.carry, d.group, d.carried);
    d.end = d.group;
}

void resume_group(dump &d)
{
    d.group = d.end;
    d.end = put_text(d.end, {d.carry, d.carried});
    d.carried = 0;
}

void put_items(dump &d, uint64_t start, uint64_t end)
{
    resume_group(d);
    for (uint64_t offset = start; offset < end; offset += d.format->width) {
        add_item(d, item_at(d, offset));
    }
    if (d.items != 0 && end == d.length) {
        close_group(d);
    } else if (d.items != 0) {
        suspend_group(d);
    }
}

void put_ascii(dump &d, uint64_t start, uint64_t end)
{
    d.end = put_text(d.end, " || ");
    end_piece(d);
    const uint64_t piece = d.in_pieces ? 1 : end - start;
    for (uint64_t offset = start; offset < end; offset += piece) {
        d.end = std::transform(d.data + offset, d.data + offset + piece, d.end, [](uint8_t byte) {
            const char c = static_cast<char>(byte);
            return is_printable(c) != 0 ? c : '.';
        });
        end_piece(d);
    }
}

// Offsets are wider than the length, so that the last line of the largest dump does not wrap to the first.
void dump_line(dump &d, uint64_t start)
{
    const uint64_t end = std::min<uint64_t>(start + line_bytes, d.length);

    d.in_pieces = boarddiag::is_message_logged(d.level);
    if (d.show_addr) {
        put_label(d, static_cast<uint32_t>(start));
    }
    put_items(d, start, end);
    if (d.show_addr && d.format->width == 1) {
        put_ascii(d, start, end);
    }
    if (end % line_bytes == 0) {
        *d.end++ = '\n';
    }
    send_line(d);
}

// ---- Fill strings ----

constexpr size_t fill_size = 170;
using fill_table = std::array<char, fill_size + 1>;

constexpr fill_table filled_with(char c)
{
    fill_table table{};
    std::fill_n(table.begin(), fill_size, c);
    return table;
}

constexpr fill_table z_wspc = filled_with(' ');
constexpr fill_table z_dash = filled_with('-');
constexpr fill_table z_astr = filled_with('*');
constexpr fill_table z_eqsg = filled_with('=');
constexpr fill_table z_dots = filled_with('.');
constexpr fill_table z_plus = filled_with('+');
constexpr fill_table z_unds = filled_with('_');
constexpr fill_table z_pipe = filled_with('|');

constexpr const fill_table *fill_tables[] = {&z_dash, &z_astr, &z_eqsg, &z_dots, &z_plus, &z_unds, &z_pipe};

// ---- Parsed trees ----

constexpr int tree_level = 3;

void print_node(const xmlNode &node)
{
    char shown[boarddiag::shown_size];

    if (node.type == XML_ELEMENT_NODE) {
        diag_print(tree_level, "node type: %s ", reinterpret_cast<const char *>(node.name));
    } else if (node.type == XML_TEXT_NODE) {
        const auto *const content = reinterpret_cast<const char *>(node.content);
        if (content != nullptr && (*content == '\r' || *content == '\n')) {
            diag_print(tree_level, "\n");
        } else {
            diag_print(tree_level, "= %s\n",
                       boarddiag::printable(shown, content == nullptr ? "" : content, "\t\n"));
        }
    }
}

// The nodes on the way down to the one that is printed, innermost last; on the heap, since a document may be
// deeper than a small stack carries.
struct open_nodes {
    const xmlNode **nodes;
    size_t count;
    size_t room;
};

bool push(open_nodes *open, const xmlNode *node)
{
    if (open->count == open->room) {
        const size_t room = open->room * 2 + 64;
        auto *const grown = static_cast<const xmlNode **>(realloc(open->nodes, room * sizeof(void *)));
        if (grown == nullptr) {
            return false;
        }
        open->nodes = grown;
        open->room = room;
    }
    open->nodes[open->count++] = node;
    return true;
}

// An entity reference leads to its declaration, from which the way may lead back to the reference.
bool is_entered(const open_nodes *open, const xmlNode *node)
{
    const std::span nodes(open->nodes, open->count);

    return node->type == XML_ENTITY_REF_NODE && std::ranges::find(nodes, node) != nodes.end();
}

// A reference stands for its entity alone, not for those that are declared behind it.
const xmlNode *next_sibling(const xmlNode *node, const open_nodes *open)
{
    const bool is_referenced = open->count != 0 && node->type == XML_ENTITY_DECL &&
                               open->nodes[open->count - 1]->type == XML_ENTITY_REF_NODE;

    return is_referenced ? nullptr : node->next;
}

// The node behind `node`, or behind the innermost open one that has a next; null at the list's end.
const xmlNode *next_of(const xmlNode *node, open_nodes *open)
{
    const xmlNode *next = next_sibling(node, open);

    while (next == nullptr && open->count != 0) {
        const xmlNode *const parent = open->nodes[--open->count];
        next = next_sibling(parent, open);
    }
    return next;
}

void print_nodes(const xmlNode *node, open_nodes *open)
{
    while (node != nullptr) {
        print_node(*node);
        const bool descends = node->children != nullptr && !is_entered(open, node);
        if (descends && !push(open, node)) {
            diag_print(0, "No memory to show what is below %s\n", reinterpret_cast<const char *>(node->name));
        } else if (descends) {
            node = node->children;
            continue;
        }
        node = next_of(node, open);
    }
}

} // namespace

void dump_hex(const void *data, int group_bits, uint32_t length, uint32_t base, int show_addr, uint8_t width,
              int level)
{
    if (length == 0) {
        diag_print(level, "\n");
        return;
    }
    const item_format *const format = find_format(width);
    if (format == nullptr) {
        REPORT_ERROR(__func__, "Invalid item width %d\n", width);
        return;
    }
    if (!boarddiag::is_message_taken(level)) {
        return;
    }
    dump d;
    d.data = static_cast<const uint8_t *>(data);
    d.length = length;
    d.base = base;
    d.show_addr = show_addr != 0;
    d.format = format;
    d.group_items = items_per_group(group_bits, *format);
    d.level = level;
    d.items = 0;
    d.end = d.line;
    d.carried = 0;
    for (uint64_t start = 0; start < length; start += line_bytes) {
        dump_line(d, start);
    }
    diag_print(level, "\n");
}

const char *fillWith(char c, int n)
{
    if (n < 1 || n > static_cast<int>(fill_size)) {
        return "";
    }
    const fill_table *chosen = &z_wspc;
    for (const fill_table *const table : fill_tables) {
        if (table->front() == c) {
            chosen = table;
        }
    }
    return chosen->data() + fill_size - static_cast<size_t>(n);
}

void print_test_result(const char *name, int failed)
{
    diag_print(0, "%s: Overall test results------------------ %s\n", name,
               failed != 0 ? "FAILED <<<<" : ">>>> PASSED");
}

void print_element(struct _xmlNode *node)
{
    open_nodes open = {nullptr, 0, 0};

    if (boarddiag::is_message_taken(tree_level)) {
        print_nodes(node, &open);
        free(open.nodes);
    }
}

uint32_t update_buf(uint8_t *dst, uint32_t n, const uint8_t *src)
{
    if (src == nullptr) {
        REPORT_ERROR(__func__, "Input data pointer is NULL\n");
        return DIAG_ERR_INVALID_ARG;
    }
    // Front to back also where the two overlap, which neither memcpy nor memmove promises.
    for (uint32_t i = 0; i < n; i++) {
        dst[i] = src[i];
    }
    return 0;
}
