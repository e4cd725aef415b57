/* SPDX-License-Identifier: MIT */
// The socket configuration: an input that begins with "<" is an XML document, any other one the text form.
#include "support.h"

#include <libxml/parser.h>

uint32_t parse_xml(std::string_view source, sock_cfg *cfg)
{
    constexpr int options = XML_PARSE_RECOVER | XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING;
    const xmlDocPtr document =
        xmlReadMemory(source.data(), static_cast<int>(source.size()), "cfg", nullptr, options);
    xmlNode *root = document != nullptr ? xmlDocGetRootElement(document) : nullptr;
    const uint32_t status = parse_socket_cfg(root, cfg, 1, nullptr);

    set_verb_level(3);
    print_element(root);
    set_verb_level(-1);
    xmlFreeDoc(document);
    xmlResetLastError();
    return status;
}

void try_input(std::string_view source)
{
    sock_cfg cfg{};
    const uint32_t status = source.starts_with('<')
                                ? parse_xml(source, &cfg)
                                : parse_socket_cfg(nullptr, &cfg, 0, copy_of(source).get());

    require(status == 0 || status == DIAG_ERR_INVALID_ARG);
    require(strnlen(cfg.ip, sizeof cfg.ip) < sizeof cfg.ip - 1);
    require(cfg.is_udp <= 1 && cfg.is_ipv4 <= 1);
}
