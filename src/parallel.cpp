// The team behind parallel.h. The only file that knows OpenMP.
#include "parallel.h"

#include <omp.h>

#include <algorithm>
#include <atomic>
#include <exception>

#if defined(__SANITIZE_THREAD__)
#define KEL_THREAD_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define KEL_THREAD_SANITIZER 1
#endif
#endif

#if defined(KEL_THREAD_SANITIZER)
#include <sanitizer/tsan_interface.h>
#endif

namespace kel::detail {
namespace {

std::atomic<int> forced{0};

/// One run of a body by a team.
class TeamRun {
  public:
    TeamRun(void (*body)(const void*, int, int), const void* context)
        : body_(body), context_(context) {}

    /// What a thread of the team does. Nothing may be thrown out of an OpenMP region.
    void call(int index, int count) noexcept {
        orderAfterFork();
        try {
            body_(context_, index, count);
        } catch (...) {
            if (!failed_.exchange(true)) error_ = std::current_exception();
        }
        orderBeforeJoin();
    }

    void rethrow() {
        if (error_) std::rethrow_exception(error_);
    }

    // The OpenMP runtime orders a team's threads by means that the thread sanitizer does not see;
    // it is told what they order, and nothing more.
#if defined(KEL_THREAD_SANITIZER)
    void orderBeforeFork() {
        __tsan_release(&fork_);
    }
    void orderAfterFork() {
        __tsan_acquire(&fork_);
    }
    void orderBeforeJoin() {
        __tsan_release(&join_);
    }
    void orderAfterJoin() {
        __tsan_acquire(&join_);
    }

  private:
    char fork_ = 0;
    char join_ = 0;
#else
    void orderBeforeFork() {}
    void orderAfterFork() {}
    void orderBeforeJoin() {}
    void orderAfterJoin() {}

  private:
#endif
    void (*body_)(const void*, int, int);
    const void* context_;
    std::atomic<bool> failed_{false};
    std::exception_ptr error_;
};

// The compiler hands `run` over in a record of its own, written after any annotation could stand:
// that hand-over alone is hidden from the sanitizer.
__attribute__((no_sanitize("thread"))) void forkAndJoin(TeamRun* run, int threads) {
#pragma omp parallel num_threads(threads) default(none) shared(run)
    run->call(omp_get_thread_num(), omp_get_num_threads());
}

}  // namespace

int teamSize(int atMost) {
    const int set = forced.load(std::memory_order_relaxed);
    return std::max(1, std::min(atMost, set > 0 ? set : omp_get_num_procs()));
}

void forceTeamSize(int threads) {
    forced.store(threads, std::memory_order_relaxed);
}

void runTeam(int threads, void (*body)(const void*, int, int), const void* context) {
    if (threads < 2) {
        body(context, 0, 1);
        return;
    }
    TeamRun run(body, context);
    run.orderBeforeFork();
    forkAndJoin(&run, threads);
    run.orderAfterJoin();
    run.rethrow();
}

}  // namespace kel::detail
