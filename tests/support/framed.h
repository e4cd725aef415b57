/* SPDX-License-Identifier: MIT */
// Frames of any record, good or bad.
#ifndef TESTS_SUPPORT_FRAMED_H
#define TESTS_SUPPORT_FRAMED_H

#include "support/capture.h"

namespace diagtest {

/// The frame of a record as a request or a response. Its lengths are made those of its texts, a missing text
/// is empty, and a checksum of 0 becomes the right one.
inline std::string framed(busbroker_req_resp r, bool is_response)
{
    static char none[] = "";
    r.dev_id = r.dev_id != nullptr ? r.dev_id : none;
    r.dev_name = r.dev_name != nullptr ? r.dev_name : none;
    r.data = r.data != nullptr ? r.data : none;
    r.support_data = r.support_data != nullptr ? r.support_data : none;
    r.dev_id_len = static_cast<uint8_t>(strlen(r.dev_id));
    r.dev_name_len = static_cast<uint8_t>(strlen(r.dev_name));
    r.data_len = static_cast<uint16_t>(strlen(r.data));
    r.support_data_len = static_cast<uint8_t>(strlen(r.support_data));
    r.crc = r.crc != 0 ? r.crc : calculate_crc(&r);
    std::string frame(calculate_req_len_in_ascii(&r), '\0');
    frame_ascii_request(&r, frame.data(), static_cast<int32_t>(frame.size()) + 1);
    if (is_response) {
        frame[1] = frame[frame.size() - 2] = 'P';
    }
    return frame;
}

} // namespace diagtest

#endif
