// What a second thread brings, in time on the wall; the table of rows counts one thread's time.
#include <algorithm>
#include <chrono>
#include <cstdio>

#include "bench_rows.h"
#include "parallel.h"

namespace bench {
namespace {

struct TeamRow {
    std::string name;
    Call call;
};

std::vector<TeamRow>& teamRows() {
    static std::vector<TeamRow> rows;
    return rows;
}

double shortestMs(const Call& call) {
    double best = 1e300;
    for (int round = 0; round < 40; ++round) {
        const auto start = std::chrono::steady_clock::now();
        call();
        const std::chrono::duration<double, std::milli> spent =
            std::chrono::steady_clock::now() - start;
        best = std::min(best, spent.count());
    }
    return best;
}

}  // namespace

void addTeamRow(const std::string& name, const Call& call) {
    teamRows().push_back({name, call});
}

void printTeamTable() {
    std::printf("| wall time, ms | one thread | two threads | gain |\n|---|---|---|---|\n");
    for (const TeamRow& row : teamRows()) {
        double ms[2] = {};
        for (int threads : {1, 2}) {
            kel::detail::forceTeamSize(threads);
            ms[threads - 1] = shortestMs(row.call);
        }
        std::printf("| %s | %.2f | %.2f | %.2f |\n", row.name.c_str(), ms[0], ms[1], ms[0] / ms[1]);
    }
    kel::detail::forceTeamSize(1);
    std::printf("\n");
}

}  // namespace bench
