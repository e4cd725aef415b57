/* SPDX-License-Identifier: MIT */
/*
 * The bus broker: setting up the program's client, and devices reached through it.
 *
 * The configuration is an XML file whose root has the children ip, PortNo, inetfamily, maxsockcnt and
 * sock_type.
 */
#include "broker.h"

#include <libxml/parser.h>
#include <string.h>

#include "checks.h"

#define TOOL_ID 3
#define RETRY_MS 300
#define TICK_100_MS 1
#define EEPROM_ID "i2c-3-0x50" /* how the sample board's broker names the device */
#define EEPROM_NAME "eeprom"
#define SCRATCH_REG 0xd0
#define VERSION_REG 0x20

struct tool_info *broker;
struct busbroker_req_resp request = {.tool_id = TOOL_ID, .inst_id = 1, .transac_id = 1, .retry_ms = RETRY_MS};
timer_t pause_timer;

static struct tool_info client; /* zeroed, as it must be */

static bool read_configuration(const char *path)
{
    xmlDoc *document = xmlReadFile(path, NULL, XML_PARSE_NONET);
    bool good = false;

    if (document != NULL) {
        good = parse_socket_cfg(xmlDocGetRootElement(document), &client.sock_cfg, 1, NULL) == 0;
        xmlFreeDoc(document);
    }
    return good;
}

bool start_broker_client(const char *path)
{
    timer_t tick;

    client.tool_id = TOOL_ID;
    client.inst_id = 1;
    client.rx_handler = busbroker_rx_state_machine;
    client.rx_complete = busbroker_parse_update_queues;
    client.rx_stateinfo = &busbroker_rx_stateinfo;
    pthread_mutex_init(&client.tx_mutex, NULL);
    pthread_mutex_init(&client.rx_mutex, NULL);
    if (!read_configuration(path) || init_timer(1, &tick, TICK_100_MS) != 0 ||
        init_timer(0, &pause_timer, 0) != 0 ||
        create_sock_threads(NULL, NULL, &client, sock_tx_thread, sock_rx_thread, 1) != 0) {
        return false;
    }
    broker = &client;
    return true;
}

static bool check_read(void)
{
    static const char expected[] = "1.0a.2.7-b";
    uint8_t data[sizeof expected] = {0}; /* the end of the text too: "1.0a.2.7-bc" is another version */

    update_busbroker_req_fields(&request, VERSION_REG, sizeof data, 8, data, 0, BB_REQ_READ, 28, NULL, 0);
    return request_busbroker(&request, broker, EEPROM_ID, EEPROM_NAME, 0, BB_REQ_READ, 5) == 0 &&
           memcmp(data, expected, sizeof data) == 0;
}

/* Written through the broker, read back without it. */
static bool check_write(void)
{
    uint8_t pattern[3] = {0x0f, 0xf0, 0x3c};
    uint8_t data[sizeof pattern] = {0};

    update_busbroker_req_fields(&request, SCRATCH_REG, sizeof pattern, 8, pattern, 0, BB_REQ_WRITE, 0, NULL,
                                0);
    return request_busbroker(&request, broker, EEPROM_ID, EEPROM_NAME, 0, BB_REQ_WRITE, 5) == 0 &&
           i2ctool_get("3", 0x50, SCRATCH_REG, &reg8_data8, sizeof data, pipe_path, data) == 0 &&
           memcmp(data, pattern, sizeof data) == 0;
}

static bool check_presence(void)
{
    const struct busbroker_dev_info device = {EEPROM_ID, EEPROM_NAME, &request, broker};

    return i2ctool_set_no_data(&device, 0, NULL, 0) == 0;
}

static bool check_bus_access(void)
{
    return request_bus_dev_access(&request, broker, 0x11, 0x22, 0, 0x33, "A1", EEPROM_ID, EEPROM_NAME,
                                  pause_timer) == 0;
}

/* The second answer comes from the list: the broker is asked once. */
static bool check_dynamic_id(void)
{
    static struct dyn_dev_id *known;
    const char *name = NULL;
    const char *again = NULL;

    if (request_otf_dev_id(&request, broker, "", "", pause_timer, 42, 7, &name, &known) != 0) {
        return false;
    }
    diag_print(0, "dynamic identifier of 42: %s\n", name);
    return request_otf_dev_id(&request, broker, "", "", pause_timer, 42, 7, &again, &known) == 0 &&
           again == name;
}

const struct check broker_checks[] = {
    {"broker read", check_read},
    {"broker write", check_write},
    {"broker device presence", check_presence},
    {"broker bus access", check_bus_access},
    {"broker dynamic identifier", check_dynamic_id},
    {NULL, NULL},
};
