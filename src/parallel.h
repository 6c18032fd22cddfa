// Work on several threads inside one call: a team starts, runs a body and is joined, by OpenMP.
//
// A body may throw; the first exception leaves the call after the join. Results must not depend on
// how many threads there are.
#pragma once

namespace kel::detail {

/// The lesser of `atMost` and the processors at hand; with a forced count, the lesser of that and
/// `atMost`.
int teamSize(int atMost);

/// Sets the count that teamSize() takes in place of the processors, for the whole process; 0 goes
/// back to them. A hook for tests and benchmarks.
void forceTeamSize(int threads);

/// Calls `body(context, index, count)` once on each thread of a team and waits for all. `count` is
/// the team's real size, which may be below `threads`; `index` goes from 0 to count - 1, and 0 is
/// the caller.
void runTeam(int threads, void (*body)(const void* context, int index, int count),
             const void* context);

/// The same for anything that can be called as `body(index, count)`.
template <class Body>
void runTeam(int threads, const Body& body) {
    runTeam(
        threads,
        [](const void* context, int index, int count) {
            (*static_cast<const Body*>(context))(index, count);
        },
        &body);
}

/// Rows `first` to `end` - 1.
struct RowRange {
    int first;
    int end;
};

/// The share of thread `index` in `rows` rows: blocks in order, the first ones a row longer where
/// the division leaves a rest.
inline RowRange rowShare(int rows, int index, int count) {
    const int each = rows / count;
    const int rest = rows % count;
    const int first = index < rest ? index * (each + 1) : index * each + rest;
    return {first, first + each + (index < rest ? 1 : 0)};
}

/// Divides `rows` rows among at most `atMost` threads and calls `body(RowRange)` on each.
template <class Body>
void runRows(int atMost, int rows, const Body& body) {
    if (rows < 1) return;
    runTeam(teamSize(atMost), [&](int index, int count) { body(rowShare(rows, index, count)); });
}

/// Calls `section(0)` to `section(sections - 1)`, each once, on at most `atMost` threads.
template <class Section>
void runSections(int atMost, int sections, const Section& section) {
    runTeam(teamSize(atMost < sections ? atMost : sections), [&](int index, int count) {
        for (int i = index; i < sections; i += count)
            section(i);
    });
}

}  // namespace kel::detail
