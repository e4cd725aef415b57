/* SPDX-License-Identifier: MIT */

#include "support/capture.h"

namespace {

struct request {
    busbroker_req_resp record = {};

    request()
    {
        record.tool_id = 3;
        record.inst_id = 1;
        record.transac_id = 7;
        record.addr = 0x10;
        record.count = 1;
        record.width = 8;
        record.code = 0x1c;
    }
    ~request()
    {
        free_req_texts(&record);
    }
    uint32_t update(uint32_t type, const char *dev_id = "cpu0", const char *dev_name = "fpga")
    {
        return update_request(&record, dev_id, dev_name, 0, type, 5);
    }
    std::string frame()
    {
        std::string text(calculate_req_len_in_ascii(&record), '?');
        EXPECT_EQ(frame_ascii_request(&record, text.data(), int32_t(text.size()) + 1), text.size());
        return text;
    }
};

TEST(Frame, ExampleAndEmptyRequest)
{
    request example;
    ASSERT_EQ(example.update(BB_REQ_READ), 0u);
    EXPECT_EQ(example.record.crc, 0xa395f48cu);
    EXPECT_EQ(validate_busbroker_req_resp(&example.record), 0u);
    EXPECT_EQ(example.frame(),
              "RQS03000000010000000704cpu004fpga00000000000000020500130000000010,0001,08,1ca395f48cRQE");
    request empty;
    empty.record.transac_id = 0xffffffff;
    ASSERT_EQ(update_request(&empty.record, "", "", 2, 0, 0x105), 0u);
    EXPECT_EQ(empty.record.support_data, nullptr);
    const std::string frame = empty.frame();
    EXPECT_EQ(frame.size(), 60u);
    EXPECT_EQ(frame.substr(0, 49), "RQS0300000001ffffffff0000000000020000000005000000");
}

TEST(Frame, DataTexts)
{
    const uint8_t bytes[] = {0xaa, 0x55};
    request r;
    auto text_of = [&](uint32_t type) {
        EXPECT_EQ(r.update(type), 0u);
        EXPECT_EQ(strlen(r.record.data), r.record.data_len);
        return std::string(r.record.data);
    };
    EXPECT_EQ(text_of(BB_REQ_READ), "00000010,0001,08,1c");
    r.record.addr = 0x1234;
    r.record.count = 2;
    r.record.write_data = bytes;
    EXPECT_EQ(text_of(BB_REQ_WRITE), "00001234,0002,08,1c,aa,55");
    r.record.count = 0;
    EXPECT_EQ(text_of(BB_REQ_WRITE), "00001234,0000,08,1c");
    r.record.otf_id = 0x2a;
    r.record.otf_arg = 7;
    EXPECT_EQ(text_of(BB_REQ_OTF_DEV_ID), "002a,0007");
    r.record.otf_arg = 65432;
    EXPECT_EQ(text_of(BB_REQ_OTF_DEV_ID), "002a,6543");
    r.record.bus_arg1 = 0x11;
    r.record.bus_arg2 = 0x22;
    r.record.bus_arg3 = 0x33;
    r.record.bus_arg4 = 30;
    strcpy(r.record.asset_id, "A1");
    EXPECT_EQ(text_of(BB_REQ_BUS_DEV_ACCESS), "00,11,22,33,30,A1");
    memset(r.record.asset_id, 'z', sizeof r.record.asset_id); // not even terminated
    EXPECT_EQ(text_of(BB_REQ_BUS_DEV_ACCESS), "00,11,22,33,30," + std::string(31, 'z'));
    r.record.asset_flag = 1;
    r.record.bus_arg4 = 100;
    EXPECT_EQ(text_of(BB_REQ_BUS_DEV_ACCESS), "01,11,22,33,10");
    for (uint32_t type : {0u, 1u, 4u, 7u, 8u}) {
        EXPECT_EQ(text_of(type), "") << type;
    }
    const uint8_t support[] = {0x01, 0xff};
    r.record.support_bytes = support;
    r.record.support_count = 2;
    text_of(0);
    EXPECT_STREQ(r.record.support_data, ",01,ff");
    EXPECT_EQ(r.record.support_data_len, 6);
    EXPECT_EQ(r.frame().substr(57, 6), ",01,ff");
}

TEST(Frame, RefusedRequestsChangeNothing)
{
    static const uint8_t many[65535] = {};
    const std::string longest(255, 'd'), longer = longest + "d";
    const std::tuple<const char *, const char *, const char *, uint32_t, uint16_t, uint8_t> refusals[] = {
        {"NULL pointers received as inputs\n", nullptr, "", 0, 0, 0},
        {"NULL pointers received as inputs\n", "", nullptr, 0, 0, 0},
        {"Device id or device name exceeds 255 characters\n", longer.c_str(), "", 0, 0, 0},
        {"Device id or device name exceeds 255 characters\n", "", longer.c_str(), 0, 0, 0},
        {"Data text of 65536 characters exceeds 65535\n", "", "", BB_REQ_WRITE, 21839, 0},
        {"Support data of 86 bytes exceeds 85\n", "", "", 0, 0, 86},
    };
    request r;
    r.record.support_bytes = r.record.write_data = many;
    r.record.support_count = 85;
    EXPECT_EQ(r.update(0, longest.c_str(), longest.c_str()), 0u);
    const std::string before = r.frame();
    EXPECT_EQ(before.size(), 60u + 3 * 255);
    for (const auto &[message, dev_id, dev_name, type, count, support_count] : refusals) {
        r.record.count = count;
        r.record.support_count = support_count;
        const auto update = [&r, t = type, i = dev_id, n = dev_name] { return r.update(t, i, n); };
        EXPECT_EQ(told(DIAG_ERR_INVALID_ARG, update), error_line("update_request", message));
        EXPECT_EQ(r.frame(), before) << message;
    }
    r.record.write_data = nullptr; // is missed when all else is stored
    EXPECT_EQ(r.update(BB_REQ_WRITE, "", ""), DIAG_ERR_INVALID_ARG);
    EXPECT_STREQ(diag_reason(), "Rx NULL pointer as Write input buffer");
    EXPECT_TRUE(r.record.dev_id_len == 0 && r.record.support_data_len == 0);
    EXPECT_EQ(update_request(nullptr, "", "", 0, 0, 0), DIAG_ERR_INVALID_ARG);
    free_req_texts(&r.record);
    free_req_texts(nullptr);
    EXPECT_TRUE(r.record.data == nullptr && r.record.support_data == nullptr && r.record.dev_id != nullptr);
    EXPECT_EQ(r.record.data_len + r.record.support_data_len, 0);
}

TEST(Frame, ChecksComeInOrderAtLevelZero)
{
    busbroker_req_resp record = {};
    char dest[8];
    auto told = [&](const busbroker_req_resp *req, int32_t size) {
        return console_of([&] { EXPECT_EQ(frame_ascii_request(req, dest, size), 0u); });
    };
    EXPECT_EQ(told(nullptr, 0), "Given dest buf size 0 is invalid \n");
    EXPECT_EQ(told(nullptr, -5), "Given dest buf size -5 is invalid \n");
    EXPECT_EQ(told(nullptr, 1), "Input request pointer is NULL\n");
    EXPECT_EQ(told(&record, 1), "Device id pointer can't be NULL\n");
    record.dev_id = "";
    EXPECT_EQ(told(&record, 1), "Device name pointer can't be NULL\n");
    EXPECT_EQ(console_of([] { EXPECT_EQ(calculate_req_len_in_ascii(nullptr), 0u); }),
              "Request raw pointer is NULL, can't calculate length\n");
}

TEST(Frame, PositionsFollowTheLengthsAndEveryWriteIsBounded)
{
    request r;
    ASSERT_EQ(r.update(BB_REQ_READ), 0u);
    const std::string whole = r.frame();
    for (size_t size = 1; size <= whole.size() + 1; size++) {
        std::string dest(whole.size() + 8, '?');
        EXPECT_EQ(frame_ascii_request(&r.record, dest.data(), static_cast<int32_t>(size)), whole.size());
        const std::string expected = whole.substr(0, size - 1) + '\0';
        EXPECT_EQ(dest, expected + std::string(dest.size() - size, '?')) << size;
    }
    r.record.dev_id_len = 6; // longer than its text: the rest of the field is empty, nothing beyond is read
    r.record.dev_name_len = 2;
    EXPECT_EQ(r.frame().substr(21, 8), std::string("06cpu0\0\0", 8));
    EXPECT_EQ(r.frame().substr(29, 4), "02fp");
}

} // namespace
