/* SPDX-License-Identifier: MIT */
/*
 * frame_trace: shows what travels between a program and the bus broker. It prints the frame of a request for
 * a dynamic device identifier, makes the broker's answer, and prints what each state of the receive machine
 * takes from it. A program that watches its receive thread in this way sets the same machine in its
 * tool_info.
 */
#include <boarddiag.h>

#include <stdlib.h>
#include <string.h>

#define STATES 17

static const struct {
    state_fn take;
    const char *part;
} parts[STATES] = {
    {busbroker_req_resp_header_proc, "start mark"},
    {busbroker_req_resp_tool_id_proc, "tool"},
    {busbroker_req_resp_inst_id_proc, "instance"},
    {busbroker_req_resp_transac_id_proc, "transaction"},
    {busbroker_req_resp_dev_id_len_proc, "length of the device identifier"},
    {busbroker_req_resp_dev_id_proc, "device identifier"},
    {busbroker_req_resp_dev_name_len_proc, "length of the device name"},
    {busbroker_req_resp_dev_name_proc, "device name"},
    {busbroker_req_resp_req_prio_proc, "priority"},
    {busbroker_req_resp_req_type_proc, "type"},
    {busbroker_req_resp_trasac_ind_proc, "indication"},
    {busbroker_req_resp_actual_datalen_proc, "length of the data"},
    {busbroker_req_resp_suprt_data_len_proc, "length of the support data"},
    {busbroker_req_resp_actual_data_copy, "data"},
    {busbroker_req_resp_support_data_copy, "support data"},
    {busbroker_req_resp_crc_proc_state, "checksum"},
    {busbroker_req_resp_footer_validtn_state, "end mark"},
};

static struct state_row rows[STATES];
static const struct state_info traced_machine = {rows, STATES};
static struct tool_info client;
static uint32_t shown; /* bytes of the datagram that the steps so far have taken */

/* Ends each step of the machine; what the step took lies in front of rx_index. */
static uint32_t trace_step(void *context, void *argument)
{
    const struct tool_info *tool = context;

    for (size_t i = 0; i < STATES; i++) {
        if (parts[i].take == rows[tool->rx_state].handler) {
            diag_print(0, "%2u %-32s %.*s\n", (unsigned)i, parts[i].part, (int)(tool->rx_index - shown),
                       (const char *)tool->rx_buf + shown);
        }
    }
    shown = tool->rx_index;
    return update_time(context, argument);
}

static uint32_t take_response(struct tool_info *tool, void *argument, struct busbroker_req_resp *response)
{
    (void)tool;
    *(int *)argument = validate_busbroker_req_resp(response) == 0;
    diag_print(0, "   the response says %s\n", response->data);
    return 0;
}

/* Frames a record; a broker's frames bear other marks than a client's. Returns the length, 0 for failure. */
static uint32_t frame_of(struct busbroker_req_resp *record, char letter, char *frame, int32_t size)
{
    const uint32_t length = frame_ascii_request(record, frame, size);

    if (length < 6 || length >= (uint32_t)size) {
        return 0;
    }
    frame[1] = letter;
    frame[length - 2] = letter;
    return length;
}

static bool make_frames(char *request, int32_t request_size)
{
    static char answer[] = "Success,cpu0-dyn";
    struct busbroker_req_resp record = {.tool_id = 3, .inst_id = 1, .transac_id = 7};
    uint8_t identifier[40];

    if (update_dyn_dev_access_req_fields(&record, 0x2a, 7, identifier) != 0 ||
        update_request(&record, "cpu0", "fpga", 0, BB_REQ_OTF_DEV_ID, 5) != 0) {
        return false;
    }
    const uint32_t length = frame_of(&record, 'Q', request, request_size);
    free(record.data);
    record.data = answer;
    record.data_len = (uint16_t)strlen(answer);
    record.crc = calculate_crc(&record);
    client.rx_len = frame_of(&record, 'P', (char *)client.rx_buf, sizeof client.rx_buf);
    return length != 0 && client.rx_len != 0;
}

/* The receive machine belongs to one thread, here as in a program. */
static void *receive(void *valid)
{
    busbroker_rx_state_machine(&client, valid);
    return NULL;
}

int main(void)
{
    char request[256];
    pthread_t thread;
    int valid = 0;

    memcpy(rows, bus_broker_rxdata_state_table, sizeof rows);
    for (size_t i = 0; i < STATES; i++) {
        rows[i].pre_check = check_rxtime_diff;
        rows[i].post_step = trace_step;
    }
    client.rx_stateinfo = &traced_machine;
    client.rx_complete = take_response;
    update_time(&client, NULL); /* a longer gap than 3 s before a step would drop what came so far */
    if (!make_frames(request, sizeof request)) {
        return EXIT_FAILURE;
    }
    diag_print(0, "boarddiag %s\nrequest  %s\nresponse %s\n", boarddiag_version(), request,
               (const char *)client.rx_buf);
    if (create_thread(&thread, NULL, receive, &valid) != 0 || pthread_join(thread, NULL) != 0) {
        return EXIT_FAILURE;
    }
    return valid ? EXIT_SUCCESS : EXIT_FAILURE;
}
