#include "tests/transport/exchange_test.h"

#include <memory>
#include <thread>

namespace korvane::test {

namespace {

class transport_threads : public sandbox_test {};

TEST_F(transport_threads, exchange_at_the_same_time_without_mixing)
{
    constexpr int threads = 8;
    constexpr int exchanges = 40;
    std::vector<std::unique_ptr<scripted_store>> stores;
    for (int t = 0; t < threads; ++t) {
        stores.push_back(std::make_unique<scripted_store>(0));
        for (int i = 0; i < exchanges; ++i) {
            stores.back()->reply_with(
                json_reply(std::string(2000, static_cast<char>('a' + t)) + std::to_string(i)));
        }
    }

    std::vector<std::vector<exchanged>> results(threads);
    std::vector<std::thread> workers;
    for (int t = 0; t < threads; ++t) {
        workers.emplace_back([&, t] {
            for (int i = 0; i < exchanges; ++i) {
                const std::string name = std::to_string(t) + "-" + std::to_string(i);
                results[static_cast<std::size_t>(t)].push_back(exchange_with(
                    stores[static_cast<std::size_t>(t)]->port(), "POST /" + name, "body " + name));
            }
        });
    }
    for (std::thread& worker : workers) {
        worker.join();
    }

    for (std::size_t t = 0; t < threads; ++t) {
        const std::vector<std::string> requests = stores[t]->requests();
        ASSERT_EQ(requests.size(), static_cast<std::size_t>(exchanges));
        for (std::size_t i = 0; i < exchanges; ++i) {
            const std::string name = std::to_string(t) + "-" + std::to_string(i);
            EXPECT_EQ(results[t][i].code, 0);
            EXPECT_EQ(results[t][i].reply, std::string(2000, static_cast<char>('a' + t)) + std::to_string(i));
            EXPECT_EQ(requests[i].substr(0, name.size() + 7), "POST /" + name + ' ');
            EXPECT_EQ(requests[i].substr(requests[i].size() - name.size() - 5), "body " + name);
        }
    }
}

TEST_F(transport_threads, share_one_store)
{
    constexpr int threads = 8;
    constexpr int exchanges = 40;
    scripted_store store(0);
    std::vector<int> failures(threads);
    std::vector<std::thread> workers;
    for (int& failed : failures) {
        workers.emplace_back([&] {
            for (int i = 0; i < exchanges; ++i) {
                const exchanged result = exchange_with(store.port(), "GET /path");
                failed += result.code != 0 || result.reply != R"({"ret":0})";
            }
        });
    }
    for (std::thread& worker : workers) {
        worker.join();
    }
    EXPECT_EQ(failures, std::vector<int>(threads));
    EXPECT_EQ(store.requests().size(), static_cast<std::size_t>(threads * exchanges));
}

} // namespace

} // namespace korvane::test
