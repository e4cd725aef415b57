/* SPDX-License-Identifier: MIT */
#include <cstdlib>
#include <cstring>

#include <boarddiag/devtree.h>

#include "core/reason.h"
#include "core/report.h"
#include "devtree/broker_retry.h"

namespace {

constexpr double pause_between_tries_s = 1.0;
constexpr size_t answer_size = 40;
constexpr size_t max_name_length = sizeof(dyn_dev_id::name) - 1;

struct id_question {
    busbroker_req_resp *req;
    uint16_t otf_id;
    uint16_t otf_arg;
    char answer[answer_size];
};

void prepare(void *context)
{
    auto *question = static_cast<id_question *>(context);
    memset(question->answer, 0, sizeof question->answer);
    update_dyn_dev_access_req_fields(question->req, question->otf_id, question->otf_arg,
                                     reinterpret_cast<uint8_t *>(question->answer));
}

bool is_name(const void *context)
{
    const auto *question = static_cast<const id_question *>(context);
    const size_t length = strnlen(question->answer, sizeof question->answer);
    if (length != 0 && length <= max_name_length) {
        return true;
    }
    boarddiag::set_reason("the bus broker's identifier of %u is %s", question->otf_id,
                          length == 0 ? "empty" : "too long");
    return false;
}

} // namespace

uint32_t update_dyn_dev_access_req_fields(struct busbroker_req_resp *req, uint16_t otf_id, uint16_t otf_arg,
                                          uint8_t *resp_buf)
{
    if (req == nullptr) {
        boarddiag::set_reason("no record was given");
        return DIAG_ERR_INVALID_ARG;
    }
    req->resp_buf = resp_buf;
    req->otf_id = otf_id;
    req->otf_arg = otf_arg;
    return 0;
}

uint32_t request_otf_dev_id(struct busbroker_req_resp *req, struct tool_info *tool, const char *dev_id,
                            const char *dev_name, timer_t timer, int number, uint16_t otf_arg,
                            const char **name, struct dyn_dev_id **list)
{
    if (name == nullptr || list == nullptr) {
        REPORT_ERROR(__func__, "Null pointers received\n");
        return DIAG_ERR_INVALID_ARG;
    }
    const char *known = check_dyn_dev_list(*list, number);
    if (known != nullptr) {
        *name = known;
        return 0;
    }
    id_question question{req, static_cast<uint16_t>(number), otf_arg, {}};
    const bool answered = boarddiag::request_with_retries(
        {req, tool, dev_id, dev_name, BB_REQ_OTF_DEV_ID, timer, pause_between_tries_s}, prepare, is_name,
        &question);
    if (req != nullptr) {
        req->resp_buf = nullptr; // the buffer ends with this call
    }
    if (!answered) {
        return DIAG_ERR_FAILED;
    }
    *name = update_dyn_dev_id_list(list, question.answer, number);
    return *name != nullptr ? 0 : DIAG_ERR_FAILED;
}

const char *update_dyn_dev_id_list(struct dyn_dev_id **list, const char *text, int number)
{
    if (list == nullptr || text == nullptr) {
        REPORT_ERROR(__func__, "Null pointers received\n");
        return nullptr;
    }
    if (*text == '\0') {
        REPORT_ERROR(__func__, "An empty text is no identifier\n");
        return nullptr;
    }
    auto *element = static_cast<dyn_dev_id *>(calloc(1, sizeof(dyn_dev_id)));
    if (element == nullptr) {
        REPORT_ERROR(__func__, "Couldn't allocate memory for new dynamic ID node\n");
        return nullptr;
    }
    element->id = number;
    memcpy(element->name, text, strnlen(text, max_name_length));
    element->is_valid = true;
    dyn_dev_id **link = list;
    while (*link != nullptr) {
        link = &(*link)->next;
    }
    *link = element;
    return element->name;
}

const char *check_dyn_dev_list(const struct dyn_dev_id *list, int number)
{
    for (const dyn_dev_id *element = list; element != nullptr; element = element->next) {
        if (element->id == number && element->is_valid) {
            return element->name;
        }
    }
    return nullptr;
}
