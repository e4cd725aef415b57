/* SPDX-License-Identifier: MIT */

#include "support/capture.h"

namespace {

struct {
    size_t answer_at = 0;          // the try that is answered, from 1; 0 for none
    std::vector<std::string> says; // what each try leaves in the answer buffer
    std::vector<busbroker_req_resp> sent;
    std::string calls;
} broker;

int some_timer;

} // namespace

extern "C" uint32_t __wrap_request_busbroker(busbroker_req_resp *req, tool_info *, const char *dev_id,
                                             const char *dev_name, uint32_t prio, uint32_t type, uint32_t ind)
{
    broker.calls += std::string(dev_id) + dev_name + std::to_string(prio * 100 + type * 10 + ind) + ";";
    if (req == nullptr) {
        return DIAG_ERR_INVALID_ARG;
    }
    broker.sent.push_back(*req);
    free_req_texts(req);
    req->data = strdup("released by the caller");
    const size_t n = broker.sent.size();
    if (n <= broker.says.size()) {
        EXPECT_EQ(std::count(req->resp_buf, req->resp_buf + 40, 0), 40) << "cleared before each try";
        memcpy(req->resp_buf, broker.says[n - 1].data(), broker.says[n - 1].size());
    }
    return broker.answer_at != 0 && n >= broker.answer_at ? 0 : 77;
}

extern "C" void __wrap_waitfor_timeout(timer_t timer, double seconds)
{
    broker.calls += "wait " + std::to_string(static_cast<int>(seconds)) + (timer == &some_timer ? ";" : "?");
}

namespace {

TEST(BusAccess, FillsTheRecordOrLeavesItAlone)
{
    busbroker_req_resp req{};
    const std::string id(40, 'a');
    const auto fill = [&](int flag, const char *asset_id, uint32_t status) {
        EXPECT_EQ(update_bus_dev_acces_req_fields(&req, flag, 1, 2, 4, 3, asset_id), status);
        return req.bus_arg1 * 1000 + req.bus_arg2 * 100 + req.bus_arg3 * 10 + req.bus_arg4;
    };
    EXPECT_EQ(update_bus_dev_acces_req_fields(nullptr, 0, 1, 2, 4, 3, "x"), DIAG_ERR_INVALID_ARG);
    set_verb_level(3);
    EXPECT_EQ(console_of([&] { EXPECT_EQ(fill(0, nullptr, DIAG_ERR_INVALID_ARG), 0); }),
              "update_bus_dev_acces_req_fields[#]: Received NULL asset ID \n");
    set_verb_level(0);
    EXPECT_EQ(fill(0, id.c_str(), 0), 1234);
    for (const int flag : {0x107, 0x100, INT32_MIN}) {
        EXPECT_EQ(fill(flag, "other", 0), 1234);
        EXPECT_EQ(req.asset_flag, flag == 0x107 ? 7 : 1);
        EXPECT_EQ(req.asset_id, id.substr(0, 31)) << "cut, and left alone by a flag";
    }
}

TEST(BusAccess, TriesTenTimesTenSecondsApart)
{
    // Asset flag and identifier, the try that is answered, bus_arg4 and identifier sent.
    const std::tuple<int, const char *, size_t, int, std::string> cases[] = {{0, "A", 1, 30, "A"},
                                                                             {1, nullptr, 10, 100, "old"},
                                                                             {0x100, "A", 3, 100, "old"},
                                                                             {0, nullptr, 0, 5, "old"},
                                                                             {0, "B", 11, 30, "B"}};
    for (const auto &[flag, asset_id, answer_at, bus_arg4, asset_sent] : cases) {
        broker = {};
        broker.answer_at = answer_at;
        busbroker_req_resp req{};
        strcpy(req.asset_id, "old");
        req.bus_arg4 = 5;
        const bool answered = answer_at >= 1 && answer_at <= 10;
        EXPECT_EQ(request_bus_dev_access(&req, nullptr, 1, 2, flag, 3, asset_id, "id", "nm", &some_timer),
                  answered ? 0 : DIAG_ERR_FAILED);
        EXPECT_EQ(broker.calls, times(answered ? static_cast<int>(answer_at) - 1 : 10, "idnm65;wait 10;") +
                                    (answered ? "idnm65;" : ""));
        for (const auto &sent : broker.sent) {
            EXPECT_TRUE(sent.bus_arg4 == bus_arg4 && sent.asset_id == asset_sent);
            EXPECT_EQ(sent.bus_arg1 + 10 * sent.bus_arg2 + 100 * sent.bus_arg3, bus_arg4 == 5 ? 0 : 321);
        }
    }
}

TEST(DynamicId, AnAnswerIsKeptUnderAll32Bits)
{
    static dyn_dev_id *list = nullptr; // kept for the leak check to see
    busbroker_req_resp req{};
    const char *name = nullptr;
    const std::string full(32, 'f');
    const auto ask = [&](int number, uint32_t status) {
        broker.calls.clear();
        return told(status, [&] {
            return request_otf_dev_id(&req, nullptr, "id", "nm", &some_timer, number, 0x1234, &name, &list);
        });
    };
    broker = {2, {"-", std::string(33, 'x'), "", full, "B"}, {}, ""};
    EXPECT_EQ(ask(0x10005, 0), "");
    EXPECT_EQ(broker.calls, times(3, "idnm55;wait 1;") + "idnm55;")
        << "a text that is too long is no answer, nor is an empty one";
    EXPECT_STREQ(diag_reason(), "the bus broker's identifier of 5 is empty");
    ASSERT_NE(name, nullptr);
    EXPECT_EQ(name, full);
    EXPECT_EQ(ask(0x20005, 0), "");
    EXPECT_STREQ(name, "B");
    EXPECT_TRUE(broker.sent[4].otf_id == 5 && broker.sent[4].otf_arg == 0x1234);
    EXPECT_TRUE(req.resp_buf == nullptr && req.data == nullptr) << "the call's buffer is gone, and its texts";
    EXPECT_EQ(ask(0x10005, 0), "");
    EXPECT_TRUE(name == list->name && broker.calls.empty());
    EXPECT_EQ(check_dyn_dev_list(list, 5), nullptr);
    list->is_valid = false;
    EXPECT_EQ(check_dyn_dev_list(list, 0x10005), nullptr);
    broker = {};
    EXPECT_EQ(ask(0x30005, DIAG_ERR_FAILED), "");
    EXPECT_EQ(broker.calls, times(10, "idnm55;wait 1;"));
    EXPECT_EQ(name, list->name) << "left alone";
    name = update_dyn_dev_id_list(&list, (full + "cut").c_str(), -1);
    EXPECT_TRUE(name == check_dyn_dev_list(list, -1) && name == list->next->next->name && name == full);
}

} // namespace
