/* SPDX-License-Identifier: MIT */
// The socket configuration: five values, as XML elements or in one "|"-separated text.
#include <cstdlib>
#include <cstring>
#include <libxml/tree.h>

#include <boarddiag/busbroker.h>

#include "core/printable.h"
#include "core/reason.h"
#include "core/report.h"

namespace {

constexpr const char function[] = "parse_socket_cfg";
constexpr size_t max_ip_len = 45;

enum class source { xml, text };

// ---- The values. Each takes its text and tells whether it fits; only the address can fail. ----

using store_fn = bool (*)(sock_cfg *cfg, const char *value, source from);

uint16_t decimal(const char *value)
{
    return static_cast<uint16_t>(strtol(value, nullptr, 10));
}

// The text form finds the word anywhere in the value, the XML form only at its start.
uint8_t names(const char *value, const char *word, source from)
{
    const char *found = strstr(value, word);

    return found != nullptr && (from == source::text || found == value) ? 1 : 0;
}

// The values come from outside.
void tell_text(const char *format, const char *value)
{
    char shown[boarddiag::shown_size];

    diag_print(3, format, boarddiag::printable(shown, value));
}

bool store_ip(sock_cfg *cfg, const char *value, source)
{
    const auto length = static_cast<size_t>(xmlStrlen(reinterpret_cast<const xmlChar *>(value)));

    if (length > max_ip_len) {
        return false;
    }
    memcpy(cfg->ip, value, length + 1);
    tell_text("Ip addr = %s\n", value);
    return true;
}

bool store_port(sock_cfg *cfg, const char *value, source)
{
    cfg->port = decimal(value);
    diag_print(3, "Ip Port = %d\n", cfg->port);
    return true;
}

bool store_family(sock_cfg *cfg, const char *value, source from)
{
    cfg->is_ipv4 = names(value, "ipv4", from);
    tell_text("Config ip family = %s\n", value);
    return true;
}

bool store_max_count(sock_cfg *cfg, const char *value, source)
{
    cfg->max_sock_cnt = decimal(value);
    diag_print(3, "Max allowed count = %d\n", cfg->max_sock_cnt);
    return true;
}

bool store_type(sock_cfg *cfg, const char *value, source from)
{
    cfg->is_udp = names(value, "udp", from);
    return true;
}

struct cfg_field {
    const char *element;
    store_fn store;
};

// In the order of the text form.
constexpr cfg_field cfg_fields[] = {
    {"ip", store_ip},
    {"PortNo", store_port},
    {"inetfamily", store_family},
    {"maxsockcnt", store_max_count},
    {"sock_type", store_type},
};

uint32_t refuse(const char *message, const cfg_field &field)
{
    REPORT_ERROR(function, "%s", message);
    boarddiag::set_reason("the socket configuration has no usable %s", field.element);
    return DIAG_ERR_INVALID_ARG;
}

// ---- The XML form ----

const cfg_field *field_of(const xmlNode *element)
{
    for (const cfg_field &field : cfg_fields) {
        if (xmlStrcmp(element->name, reinterpret_cast<const xmlChar *>(field.element)) == 0) {
            return &field;
        }
    }
    return nullptr;
}

bool store_element(sock_cfg *cfg, const xmlNode *element, const cfg_field &field)
{
    const xmlNode *child = element->children;

    return child != nullptr && child->type == XML_TEXT_NODE && child->content != nullptr &&
           field.store(cfg, reinterpret_cast<const char *>(child->content), source::xml);
}

uint32_t parse_elements(const xmlNode *parent, sock_cfg *cfg)
{
    for (const xmlNode *node = parent->children; node != nullptr; node = node->next) {
        const cfg_field *field = node->type == XML_ELEMENT_NODE ? field_of(node) : nullptr;
        if (field != nullptr && !store_element(cfg, node, *field)) {
            return refuse("Invalid Element Structure\n", *field);
        }
    }
    return 0;
}

// ---- The text form ----

// The next field, ended in place; null at the text's end.
char *next_field(char **rest)
{
    char *field = *rest + strspn(*rest, "|");
    char *end = field + strcspn(field, "|");

    *rest = *end != '\0' ? end + 1 : end;
    *end = '\0';
    return *field != '\0' ? field : nullptr;
}

uint32_t parse_text(char *text, sock_cfg *cfg)
{
    for (const cfg_field &field : cfg_fields) {
        char *value = next_field(&text);
        if (value != nullptr && field.store == store_ip) {
            trim_spaces(value);
        }
        if (value == nullptr || !field.store(cfg, value, source::text)) {
            return refuse("Invalid socket config \n", field);
        }
    }
    return 0;
}

} // namespace

[[gnu::cold]] uint32_t parse_socket_cfg(struct _xmlNode *parent, struct sock_cfg *cfg, uint8_t from_xml,
                                        char *text)
{
    if (cfg == nullptr || (from_xml != 0 ? parent == nullptr : text == nullptr)) {
        REPORT_ERROR(function, "Null pointer received for socket config \n");
        return DIAG_ERR_INVALID_ARG;
    }
    return from_xml != 0 ? parse_elements(parent, cfg) : parse_text(text, cfg);
}
