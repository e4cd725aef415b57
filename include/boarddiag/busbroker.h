/* SPDX-License-Identifier: MIT */
#ifndef BOARDDIAG_BUSBROKER_H
#define BOARDDIAG_BUSBROKER_H

#include <netinet/in.h>
#include <pthread.h>
#include <stdbool.h>
#include <stdint.h>
#include <sys/time.h>

#include <boarddiag/decls.h>

BOARDDIAG_BEGIN_DECLS

struct _xmlNode;
struct tool_info;

enum { BB_REQ_READ = 2, BB_REQ_WRITE = 3, BB_REQ_OTF_DEV_ID = 5, BB_REQ_BUS_DEV_ACCESS = 6 };
enum { BB_REQ_NO_WAIT = 0x01, BB_REQ_ACK_DONE = 0x02 };
enum {
    BB_RESP_SUCCESS = 0x01,
    BB_RESP_ACK = 0x02,
    BB_RESP_NOT_FOUND = 0x20,
    BB_RESP_FAILED = 0x40,
    BB_RESP_FORMAT_ERROR = 0x80
};

struct busbroker_req_resp {
    uint8_t tool_id;
    uint32_t inst_id;
    uint32_t transac_id;
    uint8_t dev_id_len;
    const char *dev_id;
    uint8_t dev_name_len;
    const char *dev_name;
    uint32_t req_prio;
    uint32_t req_type;
    uint8_t transac_ind;
    uint16_t data_len;
    uint8_t support_data_len;
    char *data;
    char *support_data;
    uint32_t crc;
    uint32_t addr;
    uint16_t count;
    uint8_t width;
    uint8_t code;
    uint8_t bus_arg1;
    uint8_t bus_arg2;
    uint8_t asset_flag;
    uint8_t bus_arg3;
    uint8_t bus_arg4;
    char asset_id[32];
    uint16_t otf_id;
    uint16_t otf_arg;
    uint8_t *resp_buf;
    const uint8_t *write_data;
    uint8_t flags;
    uint8_t support_count;
    uint32_t retry_ms;
    const uint8_t *support_bytes;
};

/* state machine engine; a handler returns 0 = needs more input, 1 = done, 2 = failed */
typedef uint8_t (*state_check_fn)(void *context, void *argument);
typedef uint32_t (*state_fn)(void *context, void *argument);
struct state_event {
    state_fn handler;
    uint32_t next_state;
};
struct state_event_table {
    const struct state_event *events;
    uint32_t count;
};
struct state_row {
    state_check_fn pre_check;
    const struct state_event_table *event_table;
    state_fn handler;
    state_fn failure_handler;
    uint32_t failure_state;
    uint32_t success_state;
    state_fn post_step;
};
struct state_info {
    const struct state_row *table;
    uint32_t state_count;
};
extern const struct state_row bus_broker_rxdata_state_table[17];
extern const struct state_info busbroker_rx_stateinfo;
uint32_t state_traversal(const struct state_info *info, uint32_t *state, uint32_t event, void *context,
                         void *argument);
uint32_t busbroker_req_resp_header_proc(void *context, void *argument);
uint32_t busbroker_req_resp_tool_id_proc(void *context, void *argument);
uint32_t busbroker_req_resp_inst_id_proc(void *context, void *argument);
uint32_t busbroker_req_resp_transac_id_proc(void *context, void *argument);
uint32_t busbroker_req_resp_dev_id_len_proc(void *context, void *argument);
uint32_t busbroker_req_resp_dev_id_proc(void *context, void *argument);
uint32_t busbroker_req_resp_dev_name_len_proc(void *context, void *argument);
uint32_t busbroker_req_resp_dev_name_proc(void *context, void *argument);
uint32_t busbroker_req_resp_req_prio_proc(void *context, void *argument);
uint32_t busbroker_req_resp_req_type_proc(void *context, void *argument);
uint32_t busbroker_req_resp_trasac_ind_proc(void *context, void *argument);
uint32_t busbroker_req_resp_actual_datalen_proc(void *context, void *argument);
uint32_t busbroker_req_resp_suprt_data_len_proc(void *context, void *argument);
uint32_t busbroker_req_resp_actual_data_copy(void *context, void *argument);
uint32_t busbroker_req_resp_support_data_copy(void *context, void *argument);
uint32_t busbroker_req_resp_crc_proc_state(void *context, void *argument);
uint32_t busbroker_req_resp_footer_validtn_state(void *context, void *argument);
uint32_t reset_sm(void *context, void *argument);
uint32_t update_time(void *context, void *argument);
uint8_t check_rxtime_diff(void *context, void *argument);

struct busbroker_tx_node {
    char *frame;
    uint32_t transac_id;
    uint32_t length;
    uint32_t countdown;
    uint32_t interval;
    uint8_t flags;
    uint8_t send_count;
    struct busbroker_tx_node *next;
};
struct busbroker_rx_node {
    uint8_t *data;
    uint32_t length;
    uint32_t transac_id;
    uint8_t status;
    struct busbroker_rx_node *next;
};

struct sock_cfg {
    uint16_t max_sock_cnt;
    uint8_t is_udp;
    uint8_t is_ipv4;
    char ip[47];
    uint16_t port;
    struct sockaddr_in sock_addr;
};
struct tool_info {
    uint8_t tool_id;
    uint32_t inst_id;
    struct sock_cfg sock_cfg;
    pthread_t tx_thread;
    pthread_t rx_thread;
    int32_t sock_fd;
    uint8_t rx_buf[4097];
    uint32_t rx_len;
    uint32_t (*rx_handler)(struct tool_info *tool, void *argument);
    uint32_t (*rx_complete)(struct tool_info *tool, void *argument, struct busbroker_req_resp *record);
    const struct state_info *rx_stateinfo;
    char *field_buf;
    uint32_t field_fill;
    uint32_t rx_index;
    uint32_t field_len;
    uint32_t field_count;
    struct timeval last_step_time;
    struct timeval now_time;
    uint32_t rx_state;
    struct busbroker_req_resp *rx_record;
    char mark[3];
    struct busbroker_tx_node *tx_queue;
    struct busbroker_rx_node *rx_queue;
    pthread_mutex_t tx_mutex;
    pthread_mutex_t rx_mutex;
    uint8_t timeout_flag;
    /* private fields of the library follow */
};

uint32_t update_request(struct busbroker_req_resp *req, const char *dev_id, const char *dev_name,
                        uint32_t req_prio, uint32_t req_type, uint32_t transac_ind);
uint32_t calculate_req_len_in_ascii(const struct busbroker_req_resp *req);
uint32_t frame_ascii_request(const struct busbroker_req_resp *req, char *dest, int32_t size);
uint32_t calculate_crc(const struct busbroker_req_resp *req);
uint32_t validate_busbroker_req_resp(const struct busbroker_req_resp *req);

uint32_t busbroker_rx_state_machine(struct tool_info *tool, void *argument);
uint32_t busbroker_rx_complt_curnt_state_data(struct tool_info *tool);
void free_req_memory(struct busbroker_req_resp *req);
double get_time_diff(const struct timeval *later, const struct timeval *earlier);
void timeout_update(void *tool); /* a timeout_call_fn */
void busbroker_tx_queue_timeout_update(struct tool_info *tool);

uint32_t parse_socket_cfg(struct _xmlNode *parent, struct sock_cfg *cfg, uint8_t from_xml, char *text);
uint32_t create_socket(struct sock_cfg *cfg, int32_t *fd, int32_t connect_flag);
uint32_t create_thread(pthread_t *thread, const pthread_attr_t *attr, void *(*start)(void *), void *arg);
uint32_t create_sock_threads(const pthread_attr_t *tx_attr, const pthread_attr_t *rx_attr,
                             struct tool_info *tool, void *(*tx_start)(void *), void *(*rx_start)(void *),
                             int32_t connect_flag);
void *sock_tx_thread(void *tool);
void *sock_rx_thread(void *tool);
uint32_t receive_from_socket(struct tool_info *tool);

void update_busbroker_req_fields(struct busbroker_req_resp *req, uint32_t addr, uint16_t count, uint8_t width,
                                 uint8_t *data, uint8_t flags, int32_t req_type, uint8_t code,
                                 const uint8_t *support_bytes, uint8_t support_count);
uint32_t request_busbroker(struct busbroker_req_resp *req, struct tool_info *tool, const char *dev_id,
                           const char *dev_name, uint32_t req_prio, uint32_t req_type, uint32_t transac_ind);
uint32_t queue_tx_buf(struct tool_info *tool, char *frame, uint32_t length, uint32_t interval, uint8_t flags,
                      uint32_t transac_id);
uint32_t check_resp_buf(struct tool_info *tool, uint32_t transac_id, uint8_t *resp_buf);
uint32_t deque_tool_request(struct tool_info *tool, uint32_t transac_id);
uint32_t deque_tool_response(struct tool_info *tool, uint32_t transac_id);
uint32_t enqueue_rx_queues(struct tool_info *tool, uint8_t status, uint32_t transac_id, uint8_t *data,
                           uint32_t length);
uint32_t busbroker_parse_update_queues(struct tool_info *tool, void *argument,
                                       struct busbroker_req_resp *response);

BOARDDIAG_END_DECLS

#endif
