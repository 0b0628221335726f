// SPDX-License-Identifier: MIT
// Objects under load: long random walks beside a plain model, one thread each, and threads that
// share objects. Ends with 1 when something was wrong.
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <string>

#include <CLI/CLI.hpp>

#include <tavrin/InitTerm.h>

#include "live/LiveObjectLoad.h"
#include "live/LiveObjectWalk.h"

using namespace Tavrin;

namespace {

struct Plan
{
    std::uint64_t seed = 1;
    std::int64_t steps = 1'000'000;
    int walks = 4;
    int threads = 8;
    double seconds = 120;
};

bool walk(const Plan &plan)
{
    for (int number = 0; number < plan.walks; ++number) {
        const std::uint64_t seed = plan.seed + static_cast<std::uint64_t>(number);
        test::LiveObjectWalk objects(seed);
        for (std::int64_t step = 0; step < plan.steps; ++step)
            if (const std::string gap = objects.step(); !gap.empty()) {
                std::fprintf(stderr, "seed %llu, step %lld: %s\n",
                             static_cast<unsigned long long>(seed), static_cast<long long>(step),
                             gap.c_str());
                return false;
            }
    }
    std::printf("walks: %d of %lld steps\n", plan.walks, static_cast<long long>(plan.steps));
    return true;
}

bool load(const Plan &plan)
{
    using Clock = std::chrono::steady_clock;
    const auto end = Clock::now() + std::chrono::duration<double>(plan.seconds);
    std::int64_t rounds = 0;
    do {
        constexpr int roundsAtOnce = 2000;
        test::LiveObjectLoad shared(plan.threads);
        shared.run(roundsAtOnce);
        if (!shared.complaint().empty()) {
            std::fprintf(stderr, "threads: %s\n", shared.complaint().c_str());
            return false;
        }
        rounds += roundsAtOnce;
    } while (Clock::now() < end);
    std::printf("threads: %d with %lld rounds each\n", plan.threads,
                static_cast<long long>(rounds));
    return true;
}

} // namespace

int main(int count, char **arguments)
{
    Plan plan;
    bool isQuick = false;
    CLI::App app("Objects under load");
    app.add_option("--seed", plan.seed, "of the first walk");
    app.add_option("--walks", plan.walks, "beside the model");
    app.add_option("--steps", plan.steps, "of a walk");
    app.add_option("--threads", plan.threads, "that share objects");
    app.add_option("--seconds", plan.seconds, "for the threads");
    app.add_flag("--quick", isQuick, "a short run");
    CLI11_PARSE(app, count, arguments);
    if (isQuick) {
        plan.walks = 1;
        plan.steps = 20'000;
        plan.seconds = 0;
    }
    InitTerm::init();
    bool isSound = walk(plan);
    InitTerm::setMT();
    isSound = load(plan) && isSound;
    InitTerm::exit();
    return isSound ? 0 : 1;
}
