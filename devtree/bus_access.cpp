/* SPDX-License-Identifier: MIT */
#include <cstring>

#include <boarddiag/devtree.h>

#include "core/reason.h"
#include "core/report.h"
#include "devtree/broker_retry.h"

namespace {

constexpr double pause_between_tries_s = 10.0;
constexpr uint8_t bus_arg4_with_asset = 30;
constexpr uint8_t bus_arg4_without_asset = 100; // the frame has room for two of its digits

// The arguments of one request, kept for the record's refills.
struct access_args {
    busbroker_req_resp *req;
    int asset_flag;
    uint8_t bus_arg1;
    uint8_t bus_arg2;
    uint8_t bus_arg3;
    const char *asset_id;
};

// A refused record is sent as it stands: the broker, not the filling, decides about a request.
void prepare(void *context)
{
    const auto *args = static_cast<const access_args *>(context);
    const uint8_t bus_arg4 = args->asset_flag == 0 ? bus_arg4_with_asset : bus_arg4_without_asset;
    update_bus_dev_acces_req_fields(args->req, args->asset_flag, args->bus_arg1, args->bus_arg2, bus_arg4,
                                    args->bus_arg3, args->asset_id);
}

// The record keeps 8 bits; a flag whose set bits are all above them must not turn into "no flag".
uint8_t stored_flag(int asset_flag)
{
    const auto low = static_cast<uint8_t>(asset_flag);
    return asset_flag != 0 && low == 0 ? 1 : low;
}

} // namespace

uint32_t update_bus_dev_acces_req_fields(struct busbroker_req_resp *req, int asset_flag, uint8_t bus_arg1,
                                         uint8_t bus_arg2, uint8_t bus_arg4, uint8_t bus_arg3,
                                         const char *asset_id)
{
    if (req == nullptr) {
        boarddiag::set_reason("no record was given");
        return DIAG_ERR_INVALID_ARG;
    }
    if (asset_flag == 0 && asset_id == nullptr) {
        REPORT_TRACE(__func__, 3, "Received NULL asset ID \n");
        boarddiag::set_reason("no asset identifier was given");
        return DIAG_ERR_INVALID_ARG;
    }
    req->bus_arg1 = bus_arg1;
    req->bus_arg2 = bus_arg2;
    req->asset_flag = stored_flag(asset_flag);
    req->bus_arg3 = bus_arg3;
    req->bus_arg4 = bus_arg4;
    if (asset_flag == 0) {
        const size_t length = strnlen(asset_id, sizeof req->asset_id - 1);
        memmove(req->asset_id, asset_id, length);
        req->asset_id[length] = '\0';
    }
    return 0;
}

uint32_t request_bus_dev_access(struct busbroker_req_resp *req, struct tool_info *tool, uint8_t bus_arg1,
                                uint8_t bus_arg2, int asset_flag, uint8_t bus_arg3, const char *asset_id,
                                const char *dev_id, const char *dev_name, timer_t timer)
{
    access_args args{req, asset_flag, bus_arg1, bus_arg2, bus_arg3, asset_id};
    const bool granted = boarddiag::request_with_retries(
        {req, tool, dev_id, dev_name, BB_REQ_BUS_DEV_ACCESS, timer, pause_between_tries_s}, prepare, nullptr,
        &args);
    return granted ? 0 : DIAG_ERR_FAILED;
}
