// Teams of threads: every share is done once, whatever the team's size; what a body throws arrives
// at the caller after the join. Under the thread sanitizer, the plain accesses here are the test.
#include "parallel.h"

#include <gtest/gtest.h>

#include <numeric>
#include <stdexcept>
#include <thread>
#include <vector>

using namespace kel::detail;

namespace {

struct Parallel : ::testing::Test {
    void TearDown() override { forceTeamSize(0); }
};

TEST_F(Parallel, EveryRowAndSectionOnceInEveryTeam) {
    for (int threads : {1, 2, 3, 4, 7}) {
        forceTeamSize(threads);
        for (int rows : {0, 1, 2, 5, 100, 1003}) {
            for (int turn = 0; turn < 5; ++turn) {  // the same memory by other threads
                std::vector<int> done(static_cast<size_t>(rows), turn);
                runRows(4, rows, [&](RowRange range) {
                    for (int y = range.first; y < range.end; ++y)
                        ++done[static_cast<size_t>(y)];
                });
                EXPECT_EQ(done, std::vector<int>(static_cast<size_t>(rows), turn + 1));
            }
        }
        int sections[3] = {};
        runSections(2, 3, [&](int i) { sections[i] += i + 1; });
        EXPECT_EQ(std::accumulate(sections, sections + 3, 0), 6);
        EXPECT_EQ(teamSize(4), std::min(threads, 4));
    }
    forceTeamSize(0);
    EXPECT_GE(teamSize(4), 1);
    EXPECT_LE(teamSize(4), 4);
    EXPECT_EQ(teamSize(0), 1);
}

TEST_F(Parallel, SharesAreBlocksInOrderTheLongerFirst) {
    for (int rows : {0, 1, 4, 5, 11}) {
        for (int count : {1, 2, 3, 4}) {
            int next = 0;
            for (int i = 0; i < count; ++i) {
                const RowRange share = rowShare(rows, i, count);
                EXPECT_EQ(share.first, next);
                EXPECT_EQ(share.end - share.first, rows / count + (i < rows % count ? 1 : 0));
                next = share.end;
            }
            EXPECT_EQ(next, rows);
        }
    }
}

TEST_F(Parallel, AnExceptionArrivesAfterAllHaveEnded) {
    for (int threads : {1, 2, 4}) {
        forceTeamSize(threads);
        std::vector<int> ended(4);
        const auto throwing = [&](int i) {
            ended[static_cast<size_t>(i)] = 1;
            if (i == 3 || threads > 1) throw std::runtime_error("stop");
        };
        EXPECT_THROW(runSections(4, 4, throwing), std::runtime_error);
        EXPECT_GE(std::accumulate(ended.begin(), ended.end(), 0), threads);
    }
}

TEST_F(Parallel, CallersOnSeveralThreads) {
    forceTeamSize(3);
    std::vector<std::thread> callers;
    for (int c = 0; c < 3; ++c)
        callers.emplace_back([] {
            std::vector<int> sums(50);
            for (int turn = 1; turn <= 20; ++turn) {
                runRows(4, 50, [&](RowRange range) {
                    for (int y = range.first; y < range.end; ++y)
                        sums[static_cast<size_t>(y)] += turn;
                });
            }
            EXPECT_EQ(sums, std::vector<int>(50, 210));
        });
    for (auto& caller : callers)
        caller.join();
}

}  // namespace
