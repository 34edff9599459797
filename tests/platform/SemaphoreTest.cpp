#include "Semaphore.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "CriticalSection.h"

namespace {

void join(std::vector<std::thread>& threads) {
    for (std::thread& thread : threads) {
        thread.join();
    }
}

class SemaphoreTest : public testing::TestWithParam<bool> {};

TEST_P(SemaphoreTest, OneThreadAtATimeIsInACriticalSection) {
    Semaphore semaphore(1, 1, GetParam());
    int entries = 0;  // plain on purpose: a hole in the exclusion loses some
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int round = 0; round < 10000; ++round) {
                const CriticalSection section(semaphore);
                ++entries;
            }
        });
    }
    join(threads);
    EXPECT_EQ(40000, entries);
}

/// Waits until the thread @p id sleeps in the kernel.
void awaitSleepOf(pid_t id) {
    const std::string path = "/proc/self/task/" + std::to_string(id) + "/stat";
    for (char state = '?'; state != 'S'; std::this_thread::yield()) {
        std::string text;
        std::getline(std::ifstream(path), text);
        state = text.at(text.rfind(')') + 2);
    }
}

TEST(SemaphoreOrderTest, WaitingThreadsAreServedInTheOrderOfTheirComing) {
    Semaphore semaphore(1, 1, true);
    std::vector<int> served;
    std::vector<std::thread> threads;
    semaphore.take();
    for (int i = 0; i < 5; ++i) {
        std::atomic<pid_t> id{0};
        threads.emplace_back([&semaphore, &served, &id, i] {
            id = gettid();
            const CriticalSection section(semaphore);
            served.push_back(i);
        });
        while (id == 0) {
            std::this_thread::yield();
        }
        awaitSleepOf(id);
    }
    semaphore.give();
    semaphore.take();  // after all who wait, though it asks at once
    EXPECT_EQ((std::vector<int>{0, 1, 2, 3, 4}), served);
    semaphore.give();
    join(threads);
}

INSTANTIATE_TEST_SUITE_P(Kinds, SemaphoreTest, testing::Bool(),
                         [](const auto& kind) { return kind.param ? "InOrder" : "AnyOrder"; });

}  // namespace
