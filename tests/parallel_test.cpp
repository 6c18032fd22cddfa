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

/// Adds to `sums` in shares, the same memory by other threads each time.
void addUp(std::vector<int>& sums, int turns) {
    for (int turn = 0; turn < turns; ++turn)
        runRows(4, int(sums.size()), [&](RowRange range) {
            for (int y = range.first; y < range.end; ++y)
                ++sums[size_t(y)];
        });
}

TEST_F(Parallel, EveryRowAndSectionOnceInEveryTeam) {
    for (int threads : {1, 2, 3, 4, 7}) {
        forceTeamSize(threads);
        for (size_t rows : {0, 1, 2, 5, 100, 1003}) {
            std::vector<int> done(rows), one(rows), two(rows);
            std::thread other([&] { addUp(one, 5); }), another([&] { addUp(two, 5); });
            addUp(done, 5);
            other.join();
            another.join();
            for (const auto* sums : {&done, &one, &two})
                EXPECT_EQ(*sums, std::vector<int>(rows, 5));
        }
        std::vector<int> sections(4), ended(4);
        runSections(2, 3, [&](int i) { sections[size_t(i)] += i + 1; });
        EXPECT_EQ(sections, (std::vector<int>{1, 2, 3, 0}));
        EXPECT_EQ(teamSize(4), std::min(threads, 4));
        const auto throwing = [&](int i) {
            ended[size_t(i)] = 1;
            if (i == 3 || threads > 1) throw std::runtime_error("stop");
        };
        EXPECT_THROW(runSections(4, 4, throwing), std::runtime_error);
        EXPECT_GE(std::accumulate(ended.begin(), ended.end(), 0), std::min(threads, 4));
    }
    forceTeamSize(0);
    EXPECT_GE(teamSize(4), 1);
    EXPECT_LE(teamSize(4), 4);
    EXPECT_EQ(teamSize(0), 1);
}

TEST_F(Parallel, SharesAreBlocksInOrderTheLongerFirst) {
    for (int rows : {0, 1, 4, 5, 11})
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

}  // namespace
