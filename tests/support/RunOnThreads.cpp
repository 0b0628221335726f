// SPDX-License-Identifier: MIT
#include "support/RunOnThreads.h"

#include <cstddef>
#include <exception>
#include <latch>
#include <thread>
#include <vector>

namespace Tavrin::test {

void runOnThreads(int count, const std::function<void(int index)> &body)
{
    std::latch release(count);
    std::vector<std::exception_ptr> thrown(static_cast<std::size_t>(count));
    std::vector<std::thread> threads;
    threads.reserve(thrown.size());
    for (int index = 0; index < count; ++index) {
        threads.emplace_back([&, index] {
            release.arrive_and_wait();
            try {
                body(index);
            } catch (...) {
                thrown[static_cast<std::size_t>(index)] = std::current_exception();
            }
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    for (const std::exception_ptr &exception : thrown)
        if (exception)
            std::rethrow_exception(exception);
}

void runOnThread(const std::function<void()> &body)
{
    runOnThreads(1, [&](int) { body(); });
}

} // namespace Tavrin::test
