/* SPDX-License-Identifier: MIT */
// Turns the parameters of a request into the record's texts, lengths and checksum.
#include <cstdlib>
#include <cstring>

#include "busbroker/frame.h"
#include "core/report.h"

namespace {

constexpr size_t max_dev_text = UINT8_MAX;
constexpr uint32_t max_data_text = UINT16_MAX;
constexpr uint32_t byte_text_length = 3;
constexpr uint32_t max_support_count = UINT8_MAX / byte_text_length;

/// Nothing of an earlier request may be taken for this one's when it fails.
void forget_request(busbroker_req_resp &req)
{
    free(req.data);
    free(req.support_data);
    req.data = nullptr;
    req.support_data = nullptr;
    req.data_len = 0;
    req.support_data_len = 0;
    req.dev_id = nullptr;
    req.dev_id_len = 0;
    req.dev_name = nullptr;
    req.dev_name_len = 0;
    req.req_prio = 0;
    req.req_type = 0;
    req.transac_ind = 0;
    req.crc = 0;
}

uint32_t store_names(const char *function, busbroker_req_resp &req, const char *dev_id, const char *dev_name)
{
    const size_t id_length = strlen(dev_id);
    const size_t name_length = strlen(dev_name);

    if (id_length > max_dev_text || name_length > max_dev_text) {
        REPORT_ERROR(function, "Device id or device name exceeds %u characters\n",
                     static_cast<unsigned>(max_dev_text));
        return DIAG_ERR_INVALID_ARG;
    }
    req.dev_id = dev_id;
    req.dev_id_len = static_cast<uint8_t>(id_length);
    req.dev_name = dev_name;
    req.dev_name_len = static_cast<uint8_t>(name_length);
    return 0;
}

uint32_t build_data(const char *function, busbroker_req_resp &req)
{
    if (req.req_type == BB_REQ_WRITE && req.write_data == nullptr) {
        diag_print(1, "Rx NULL pointer as Write input buffer\n");
        return DIAG_ERR_INVALID_ARG;
    }
    const uint32_t length = boarddiag::data_text_length(req);
    if (length > max_data_text) {
        REPORT_ERROR(function, "Data text of %u characters exceeds %u\n", static_cast<unsigned>(length),
                     static_cast<unsigned>(max_data_text));
        return DIAG_ERR_INVALID_ARG;
    }
    req.data = static_cast<char *>(malloc(length + 1));
    if (req.data == nullptr) {
        REPORT_ERROR(function, "Couldn't allocate memory \n");
        return DIAG_ERR_NO_MEMORY;
    }
    boarddiag::write_data_text(req, req.data);
    req.data_len = static_cast<uint16_t>(length);
    return 0;
}

/// The complaint about support bytes that cannot travel, null when there is none.
const char *support_refusal(const busbroker_req_resp &req)
{
    if (req.support_count > max_support_count) {
        return "Support data of %u bytes exceeds %u\n";
    }
    return req.support_bytes == nullptr ? "NULL pointer received as %u support bytes of at most %u\n"
                                        : nullptr;
}

uint32_t build_support(const char *function, busbroker_req_resp &req)
{
    if (req.support_count == 0) {
        return 0;
    }
    const char *refusal = support_refusal(req);
    if (refusal != nullptr) {
        REPORT_ERROR(function, refusal, static_cast<unsigned>(req.support_count),
                     static_cast<unsigned>(max_support_count));
        return DIAG_ERR_INVALID_ARG;
    }
    const uint32_t length = byte_text_length * req.support_count;
    req.support_data = static_cast<char *>(malloc(length + 1));
    if (req.support_data == nullptr) {
        REPORT_ERROR(function, "Couldn't allocate memory\n");
        return DIAG_ERR_NO_MEMORY;
    }
    *boarddiag::put_byte_list(req.support_data, req.support_bytes, req.support_count) = '\0';
    req.support_data_len = static_cast<uint8_t>(length);
    return 0;
}

} // namespace

uint32_t update_request(struct busbroker_req_resp *req, const char *dev_id, const char *dev_name,
                        uint32_t req_prio, uint32_t req_type, uint32_t transac_ind)
{
    if (req != nullptr) {
        forget_request(*req);
    }
    if (dev_id == nullptr || dev_name == nullptr || req == nullptr) {
        REPORT_ERROR(__func__, "NULL pointers received as inputs\n");
        return DIAG_ERR_INVALID_ARG;
    }
    uint32_t status = store_names(__func__, *req, dev_id, dev_name);
    if (status != 0) {
        return status;
    }
    req->req_prio = req_prio;
    req->req_type = req_type;
    req->transac_ind = static_cast<uint8_t>(transac_ind);
    status = build_data(__func__, *req);
    if (status == 0) {
        status = build_support(__func__, *req);
    }
    if (status != 0) {
        return status;
    }
    req->crc = calculate_crc(req);
    diag_print(3, "Calculated CRC =%x\n", static_cast<unsigned>(req->crc));
    return 0;
}
