/* SPDX-License-Identifier: MIT */
// Failing memory: each allocation of each operation that allocates fails in turn. What is told and returned,
// that nothing is lost (the leak check sees to it), and that the operation then succeeds on the same state.
#include <cstring>
#include <filesystem>
#include <fstream>

#include "busbroker/loopback.h"
#include "support/sim_board.h"

using diagtest::error_line;
using diagtest::forget_requests;

namespace {

int good_allocations = -1; // how many succeed until one fails, once; negative: all succeed

bool fails()
{
    return good_allocations >= 0 && good_allocations-- == 0;
}

} // namespace

// clang-format off
extern "C" {
void *__real_malloc(size_t size);
void *__real_calloc(size_t count, size_t size);
void *__real_realloc(void *block, size_t size);
void *__wrap_malloc(size_t size);
void *__wrap_calloc(size_t count, size_t size);
void *__wrap_realloc(void *block, size_t size);
void *__wrap_malloc(size_t size) { return fails() ? nullptr : __real_malloc(size); }
void *__wrap_calloc(size_t count, size_t size) { return fails() ? nullptr : __real_calloc(count, size); }
void *__wrap_realloc(void *block, size_t size) { return fails() ? nullptr : __real_realloc(block, size); }
}
// clang-format on

namespace {

constexpr uint32_t no_memory = DIAG_ERR_NO_MEMORY;

struct failure {
    uint32_t status = 0;
    std::string told = "";
};
using failures = std::vector<failure>; // one for each allocation

/// `run` is told whether it runs again on the state of its last run.
void sweep(const std::string &name, const failures &expected, const std::function<uint32_t(bool again)> &run)
{
    for (size_t n = 0; n <= expected.size(); n++) {
        SCOPED_TRACE(name + ", allocation " + std::to_string(n));
        const bool meets_one = n < expected.size();
        const failure &wanted = meets_one ? expected[n] : failure{};
        uint32_t status = 0;
        EXPECT_EQ(diagtest::console_of([&] {
                      good_allocations = static_cast<int>(n);
                      status = run(false);
                  }),
                  wanted.told);
        EXPECT_EQ(good_allocations, meets_one ? -1 : 0) << "as many allocations as failures are listed";
        good_allocations = -1;
        EXPECT_EQ(status, wanted.status);
        EXPECT_EQ(diagtest::console_of([&] { EXPECT_EQ(run(true), 0u); }), "");
    }
}

const failure no_data = {no_memory, error_line("update_request", "Couldn't allocate memory \n")};
const failure no_support = {no_memory, error_line("update_request", "Couldn't allocate memory\n")};
const failure no_frame = {no_memory, error_line("request_busbroker", "Memory allocation error\n")};
const failure no_queue = {no_memory, error_line("queue_tx_buf", "Couldn't allocate tx queue memory\n")};
const failure no_room = {no_memory,
                         no_queue.told + error_line("request_busbroker", "Can't queue the request \n")};

busbroker_req_resp read_request(uint8_t flags)
{
    static constexpr uint8_t support[] = {1};
    busbroker_req_resp req{};
    req.transac_id = 7;
    req.flags = flags;
    req.support_bytes = support;
    req.support_count = 1;
    return req;
}

TEST(FailingMemory, Requests)
{
    tool_info *tool = diagtest::new_client();
    busbroker_req_resp req = read_request(BB_REQ_NO_WAIT);
    sweep("request_busbroker", {no_data, no_support, no_frame, no_room}, [&](bool) {
        const uint32_t id = req.transac_id;
        const uint32_t status = request_busbroker(&req, tool, "cpu0", "fpga", 0, BB_REQ_READ, 5);
        EXPECT_TRUE(req.data == nullptr && req.support_data == nullptr);
        EXPECT_EQ(req.transac_id, status == 0 ? id + 1 : id);
        EXPECT_EQ(tool->tx_queue != nullptr, status == 0);
        forget_requests(tool);
        return status;
    });
}

TEST(FailingMemory, Responses)
{
    const std::string prefix = "busbroker_req_resp_";
    const std::string frame = diagtest::response_frame({7, 0, ""}, "Success");
    failures drops;
    for (const char *function :
         {"header", "header", "dev_id_len", "dev_id", "dev_name_len", "dev_name", "", "", "support_data"}) {
        const char *end = strcmp(function, "support_data") == 0 ? "_copy" : "_proc";
        const bool told = *function != '\0';
        drops.push_back({no_memory, told ? error_line(prefix + function + end, "Mem alloc fail\n") : ""});
    }
    static bool delivered;
    tool_info *tool = diagtest::new_client();
    tool->rx_complete = [](tool_info *, void *, busbroker_req_resp *) {
        delivered = true;
        return 0u;
    };
    sweep("receiving", drops, [&](bool) {
        delivered = false;
        memcpy(tool->rx_buf, frame.data(), frame.size());
        tool->rx_len = static_cast<uint32_t>(frame.size());
        EXPECT_EQ(busbroker_rx_state_machine(tool, nullptr), 0u);
        EXPECT_TRUE(tool->rx_state == 0 && tool->rx_record == nullptr && tool->field_buf == nullptr);
        return delivered ? 0 : no_memory;
    });

    const std::string parser = "busbroker_parse_update_queues";
    const failure no_bytes = {no_memory, error_line(parser, "Mem alloc error\n")};
    const failure no_node = {no_memory, error_line("enqueue_rx_queues", "Mem alloc error \n")};
    const std::tuple<uint32_t, std::string, failures> answers[] = {
        {0, "Success", {no_node}},
        {BB_REQ_READ, "a,b,c,d,Success,1,5a", {no_bytes, no_bytes, no_node}},
        {BB_REQ_WRITE, "a,b,c,Success,", {no_bytes, no_node}},
        {BB_REQ_OTF_DEV_ID, "Success,id", {no_bytes, {DIAG_ERR_INVALID_ARG, no_bytes.told}, no_node}},
    };
    EXPECT_EQ(queue_tx_buf(tool, strdup("frame"), 5, 0, 0, 7), 0u);
    for (auto [type, text, expected] : answers) {
        busbroker_req_resp response{};
        response.transac_id = 7;
        response.req_type = type;
        response.data = text.data();
        sweep(text, expected, [&](bool) {
            deque_tool_response(tool, 7);
            const uint32_t status = busbroker_parse_update_queues(tool, nullptr, &response);
            EXPECT_EQ(tool->rx_queue != nullptr, status == 0);
            return status;
        });
    }
    deque_tool_response(tool, 7);
    forget_requests(tool);
}

struct platform {
    pf_tree tree{};
    proc_info proc{};
};

/// A platform that stays to the end of the process: the leak check then finds what no tree holds.
platform &kept(bool last)
{
    static auto &all = *new std::vector<platform *>;
    return last ? *all.back() : *all.emplace_back(new platform{});
}

TEST(FailingMemory, TreesAndDynamicIdentifiers)
{
    const std::string walk = "update_dev_mux_interface_tree", check = "check_add_mux_entry";
    const failure no_entry = {no_memory, error_line("update_pf_tree", "Couldn't allocate memory\n")};
    const failure no_mux = {
        no_memory, error_line("add_mux_entry_to_proc_info", "Couldn't allocate memory for new mux node\n")};
    const std::string no_item = error_line(check, "Couldn't allocate memory\n");
    const failures mux_tree_failures = {
        {0, no_item + error_line(walk, "Invalid tree\n")}, // the status of the last identifier counts
        {0, error_line(walk, "Couldn't allocate space for node \n")},
        {0, no_item},
        no_mux,
        no_entry,
    };
    static pf_dev plain = {"E", "i2c-0", nullptr, nullptr}, mux = {"M1", "i2c-0", "PCA9541", &plain},
                  behind = {"M1-1.D", "i2c-0", nullptr, &mux};
    sweep("a tree", mux_tree_failures, [](bool again) {
        platform &p = kept(again);
        const uint32_t status = update_pf_tree(&behind, &p.tree, true, &p.proc);
        if (again) {
            const mux_tree *node = p.tree.i2c[0].muxes;
            EXPECT_TRUE(node->dev == &mux && node->next == nullptr && node->channels->next == nullptr);
            EXPECT_TRUE(node->channels->tree.devs->dev == &behind && p.tree.i2c[0].devs->dev == &plain);
        }
        return status;
    });
    static std::array<pf_dev, 64> many; // so many that they are indexed, without which all goes well, too
    for (size_t i = 0; i < many.size(); i++) {
        many[i] = {"E", "i2c-0", nullptr, i + 1 < many.size() ? &many[i + 1] : nullptr};
    }
    failures indexed(1 + many.size(), no_entry);
    indexed[0] = {};
    sweep("an indexed tree", indexed,
          [](bool again) { return update_pf_tree(many.data(), &kept(again).tree, false, nullptr); });

    // A request that nobody waits for is answered at once; a failed try is repeated, here without a pause.
    const std::string no_pause = error_line("waitfor_timeout", "Failed to set time to timer with id\n");
    static dyn_dev_id *list = nullptr;
    tool_info *tool = diagtest::new_client();
    int number = 0;
    sweep("request_otf_dev_id",
          {{0, no_data.told + no_pause},
           {0, no_frame.told + no_pause},
           {0, no_room.told + no_pause},
           {DIAG_ERR_FAILED,
            error_line("update_dyn_dev_id_list", "Couldn't allocate memory for new dynamic ID node\n")}},
          [&](bool) {
              busbroker_req_resp req = read_request(BB_REQ_NO_WAIT);
              req.support_count = 0;
              const char *name = "untouched";
              const uint32_t status =
                  request_otf_dev_id(&req, tool, "i", "n", timer_t{}, ++number, 2, &name, &list);
              EXPECT_EQ(name, check_dyn_dev_list(list, number));
              forget_requests(tool);
              return status;
          });
}

TEST(FailingMemory, MemoryWritesFileNamesAndTimeoutCalls)
{
    const diagtest::sim_board board;
    const uint8_t byte = 5;
    sweep("memtool_set",
          {{UINT32_MAX, error_line("memtool_set", "Could not allocate space for params of memtool\n")}},
          [&](bool) { return memtool_set(0x80000000, 8, &byte, 1, 0); });
    const std::string path = board.root + "/answer";
    uint8_t data[2] = {};
    sweep("i2ctool_get", {}, // as all accesses but the one above
          [&](bool) { return i2ctool_get("3", 0x50, 0, &reg8_data8, 2, path.c_str(), data); });
    sweep("ipmitool2_get", {}, [&](bool) { return ipmitool2_get(6, 1, 0, nullptr, 2, data); });
    sweep("lpctool_set", {}, [&](bool) { return lpctool_set(9, data, 2, 'b', 0); });
    const std::string base = board.root + "/config";
    std::ofstream(base + ".cfg") << "x";
    sweep("build_config_filename",
          {{1, error_line("build_config_filename", "Could not allocate space for the config file name\n")}},
          [&](bool) {
              char *name = build_config_filename(base.c_str());
              const bool is_right = name != nullptr && name == base + ".cfg";
              free(name);
              return is_right ? 0u : 1u;
          });
    sweep("register_timeout_calls",
          {{1, error_line("register_timeout_calls", "mem allocation for timeout calls failed \n")}},
          [](bool) { return register_timeout_calls(1, nullptr, nullptr) ? 0u : 1u; });
}

} // namespace
