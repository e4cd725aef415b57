/* SPDX-License-Identifier: MIT */
#include <algorithm>
#include <boarddiag.h>
#include <cstring>
#include <gtest/gtest.h>
#include <utility>

#include "support/capture.h"

extern int allocations_left;

namespace {

struct {
    int answer_at = 1;             // the try that is answered, 0 for none
    std::vector<std::string> says; // what each try leaves in the answer buffer
    std::vector<busbroker_req_resp> sent;
    std::string calls;
} broker;

} // namespace

extern "C" uint32_t __wrap_request_busbroker(busbroker_req_resp *req, tool_info *, const char *dev_id,
                                             const char *dev_name, uint32_t prio, uint32_t type, uint32_t ind)
{
    char call[80];
    snprintf(call, sizeof call, "%s %s %u %u %u;", dev_id, dev_name, prio, type, ind);
    broker.calls += call;
    if (req == nullptr) {
        return DIAG_ERR_INVALID_ARG;
    }
    const size_t n = broker.sent.size();
    broker.sent.push_back(*req);
    if (n < broker.says.size()) {
        EXPECT_EQ(std::count(req->resp_buf, req->resp_buf + 40, 0), 40) << "cleared before each try";
        memcpy(req->resp_buf, broker.says[n].data(), broker.says[n].size());
    }
    return static_cast<int>(n) + 1 < broker.answer_at || broker.answer_at == 0 ? 77 : 0;
}

extern "C" void __wrap_waitfor_timeout(timer_t timer, double seconds)
{
    char wait[40];
    snprintf(wait, sizeof wait, "wait %d %g;", timer != nullptr, seconds);
    broker.calls += wait;
}

namespace {

int some_timer;

std::string tries(int n, const std::string &failed, const std::string &last)
{
    std::string calls;
    while (n-- > 0) {
        calls += failed;
    }
    return calls + last;
}

TEST(BusAccess, FillsTheRecordOrLeavesItAlone)
{
    busbroker_req_resp req{};
    const std::string id(40, 'a');
    EXPECT_EQ(update_bus_dev_acces_req_fields(nullptr, 0, 1, 2, 4, 3, "x"), DIAG_ERR_INVALID_ARG);
    EXPECT_EQ(update_bus_dev_acces_req_fields(&req, 0, 1, 2, 4, 3, id.c_str()), 0u);
    EXPECT_TRUE(req.bus_arg1 == 1 && req.bus_arg2 == 2 && req.bus_arg3 == 3 && req.bus_arg4 == 4);
    EXPECT_EQ(req.asset_id, id.substr(0, 31));
    set_verb_level(3);
    EXPECT_EQ(diagtest::console_of([&] {
                  EXPECT_EQ(update_bus_dev_acces_req_fields(&req, 0, 9, 9, 9, 9, nullptr),
                            DIAG_ERR_INVALID_ARG);
              }),
              "update_bus_dev_acces_req_fields[#]: Received NULL asset ID \n");
    set_verb_level(0);
    EXPECT_TRUE(req.bus_arg1 == 1 && req.bus_arg4 == 4);
    for (const int flag : {0x107, 0x100, INT32_MIN}) {
        EXPECT_EQ(update_bus_dev_acces_req_fields(&req, flag, 1, 2, 4, 3, nullptr), 0u);
        EXPECT_EQ(req.asset_flag, flag == 0x107 ? 7 : 1);
        EXPECT_EQ(req.asset_id, id.substr(0, 31));
    }
}

TEST(BusAccess, TriesTenTimesTenSecondsApart)
{
    const struct {
        int flag, answer_at;
        const char *asset_id;
        uint8_t bus_arg4;
        std::string asset_sent;
    } cases[] = {{0, 1, "A", 30, "A"},
                 {1, 10, nullptr, 100, "old"},
                 {0x100, 3, "A", 100, "old"},
                 {0, 0, nullptr, 5, "old"},
                 {0, 11, "B", 30, "B"}};
    for (const auto &c : cases) {
        broker = {};
        broker.answer_at = c.answer_at;
        busbroker_req_resp req{};
        strcpy(req.asset_id, "old");
        req.bus_arg4 = 5;
        const bool answered = c.answer_at >= 1 && c.answer_at <= 10;
        EXPECT_EQ(
            request_bus_dev_access(&req, nullptr, 1, 2, c.flag, 3, c.asset_id, "id", "name", &some_timer),
            answered ? 0 : DIAG_ERR_FAILED);
        EXPECT_EQ(broker.calls, tries(answered ? c.answer_at - 1 : 10, "id name 0 6 5;wait 1 10;",
                                      answered ? "id name 0 6 5;" : ""));
        for (const auto &sent : broker.sent) {
            EXPECT_EQ(sent.bus_arg4, c.bus_arg4);
            EXPECT_EQ(sent.asset_id, c.asset_sent);
            EXPECT_EQ(sent.bus_arg1 + 10 * sent.bus_arg2 + 100 * sent.bus_arg3, c.bus_arg4 == 5 ? 0 : 321);
        }
    }
}

TEST(DynamicId, AnAnswerIsKeptUnderAll32Bits)
{
    busbroker_req_resp req{};
    dyn_dev_id *list = nullptr;
    const std::string full(32, 'f');
    const auto ask = [&](int number, const char **name) {
        broker.calls.clear();
        return request_otf_dev_id(&req, nullptr, "id", "name", &some_timer, number, 0x1234, name, &list);
    };
    const char *name = nullptr;
    broker = {};
    broker.answer_at = 2;
    broker.says = {std::string(39, 'x'), std::string(33, 'x'), std::string(40, 'x'), full, "B"};
    EXPECT_EQ(ask(0x10005, &name), 0u);
    EXPECT_EQ(broker.calls, tries(3, "id name 0 5 5;wait 1 1;", "id name 0 5 5;"));
    EXPECT_EQ(name, full);
    EXPECT_EQ(ask(0x20005, &name), 0u);
    EXPECT_STREQ(name, "B");
    for (const auto &sent : broker.sent) {
        EXPECT_TRUE(sent.otf_id == 5 && sent.otf_arg == 0x1234);
    }
    EXPECT_EQ(req.resp_buf, nullptr) << "the call's buffer is gone";
    EXPECT_EQ(ask(0x10005, &name), 0u);
    EXPECT_TRUE(name == list->name && broker.calls.empty());
    EXPECT_EQ(check_dyn_dev_list(list, 5), nullptr);
    EXPECT_EQ(check_dyn_dev_list(nullptr, 5), nullptr);
    list->is_valid = false;
    EXPECT_EQ(check_dyn_dev_list(list, 0x10005), nullptr);
    name = update_dyn_dev_id_list(&list, (full + "cut").c_str(), -1);
    EXPECT_EQ(name, check_dyn_dev_list(list, -1));
    EXPECT_EQ(list->next->next->name, full);
    allocations_left = 0;
    EXPECT_EQ(
        diagtest::console_of([&] { EXPECT_EQ(ask(7, &name), DIAG_ERR_FAILED); }),
        diagtest::error_line("update_dyn_dev_id_list", "Couldn't allocate memory for new dynamic ID node\n"));
    EXPECT_EQ(name, nullptr);
    while (list != nullptr) {
        free(std::exchange(list, list->next));
    }
}

TEST(DynamicId, NoAnswerIsAFailureAfterTenTries)
{
    busbroker_req_resp req{};
    for (busbroker_req_resp *record : {&req, static_cast<busbroker_req_resp *>(nullptr)}) {
        broker = {};
        broker.answer_at = 0;
        const char *name = "untouched";
        dyn_dev_id *list = nullptr;
        EXPECT_EQ(request_otf_dev_id(record, nullptr, "i", "n", &some_timer, 1, 2, &name, &list),
                  DIAG_ERR_FAILED);
        EXPECT_EQ(broker.calls, tries(10, "i n 0 5 5;wait 1 1;", ""));
        EXPECT_STREQ(name, "untouched");
        EXPECT_EQ(list, nullptr);
    }
}

} // namespace
