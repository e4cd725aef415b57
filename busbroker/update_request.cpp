/* SPDX-License-Identifier: MIT */
// Puts the parameters of a request into its record, and turns them into texts, lengths and a checksum.
#include <cstdlib>
#include <cstring>

#include "busbroker/frame.h"
#include "busbroker/refusal.h"
#include "core/report.h"

namespace {

constexpr uint8_t default_code = 28;
constexpr size_t max_dev_text = UINT8_MAX;
constexpr uint32_t max_data_text = UINT16_MAX;
constexpr uint32_t byte_text_length = 3;
constexpr uint32_t max_support_count = UINT8_MAX / byte_text_length;

bool names_fit(const char *function, const char *dev_id, const char *dev_name)
{
    if (strlen(dev_id) <= max_dev_text && strlen(dev_name) <= max_dev_text) {
        return true;
    }
    REPORT_ERROR(function, "Device id or device name exceeds %u characters\n",
                 static_cast<unsigned>(max_dev_text));
    return false;
}

bool data_fit(const char *function, const busbroker_req_resp &req, uint32_t req_type)
{
    const uint32_t length = boarddiag::data_text_length(req, req_type);
    const uint32_t support = req.support_count;

    if (length > max_data_text) {
        REPORT_ERROR(function, "Data text of %u characters exceeds %u\n", length, max_data_text);
    } else if (support > max_support_count) {
        REPORT_ERROR(function, "Support data of %u bytes exceeds %u\n", support, max_support_count);
    } else if (support != 0 && req.support_bytes == nullptr) {
        REPORT_ERROR(function, "NULL pointer received as %u support bytes\n", support);
    } else {
        return true;
    }
    return false;
}

uint32_t build_data(const char *function, busbroker_req_resp &req)
{
    const uint32_t length = boarddiag::data_text_length(req, req.req_type);

    req.data = static_cast<char *>(malloc(length + 1));
    if (req.data == nullptr) {
        REPORT_ERROR(function, "Couldn't allocate memory \n");
        return DIAG_ERR_NO_MEMORY;
    }
    boarddiag::write_data_text(req, req.data);
    req.data_len = static_cast<uint16_t>(length);
    return 0;
}

uint32_t build_support(const char *function, busbroker_req_resp &req)
{
    if (req.support_count == 0) {
        return 0;
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

void update_busbroker_req_fields(struct busbroker_req_resp *req, uint32_t addr, uint16_t count, uint8_t width,
                                 uint8_t *data, uint8_t flags, int32_t req_type, uint8_t code,
                                 const uint8_t *support_bytes, uint8_t support_count)
{
    if (req == nullptr) {
        REPORT_ERROR(__func__, "NULL pointers received as inputs\n");
        return;
    }
    req->addr = addr;
    req->count = count;
    req->width = width;
    req->flags = flags;
    req->resp_buf = req_type == BB_REQ_READ ? data : nullptr;
    req->write_data = req_type == BB_REQ_WRITE ? data : nullptr;
    req->code = req_type == BB_REQ_READ ? code : default_code;
    const bool complete = support_bytes != nullptr && support_count != 0;
    req->support_bytes = complete ? support_bytes : nullptr;
    req->support_count = complete ? support_count : 0;
    if (support_bytes == nullptr && support_count != 0) {
        REPORT_TRACE(__func__, 3,
                     "Support data length is not NULL but buffer pointer is NULL, "
                     "Considering no support data");
    } else if (support_bytes != nullptr && support_count == 0) {
        REPORT_TRACE(__func__, 3, "Support data buffer is not NULL, but support data buffer is not empty\n");
    }
}

void free_req_texts(struct busbroker_req_resp *req)
{
    if (req != nullptr) {
        free(req->data);
        free(req->support_data);
        req->data = nullptr;
        req->support_data = nullptr;
        req->data_len = 0;
        req->support_data_len = 0;
    }
}

uint32_t update_request(struct busbroker_req_resp *req, const char *dev_id, const char *dev_name,
                        uint32_t req_prio, uint32_t req_type, uint32_t transac_ind)
{
    if (dev_id == nullptr || dev_name == nullptr || req == nullptr) {
        REPORT_ERROR(__func__, "NULL pointers received as inputs\n");
        return DIAG_ERR_INVALID_ARG;
    }
    const bool misses_bytes = req_type == BB_REQ_WRITE && req->write_data == nullptr;
    if (!names_fit(__func__, dev_id, dev_name) || (!misses_bytes && !data_fit(__func__, *req, req_type))) {
        return DIAG_ERR_INVALID_ARG;
    }
    req->dev_id = dev_id;
    req->dev_id_len = static_cast<uint8_t>(strlen(dev_id));
    req->dev_name = dev_name;
    req->dev_name_len = static_cast<uint8_t>(strlen(dev_name));
    req->req_prio = req_prio;
    req->req_type = req_type;
    req->transac_ind = static_cast<uint8_t>(transac_ind);
    free_req_texts(req);
    if (misses_bytes) {
        boarddiag::tell_refusal(1, "Rx NULL pointer as Write input buffer\n");
        return DIAG_ERR_INVALID_ARG;
    }
    uint32_t status = build_data(__func__, *req);
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
