#include "run_jobs.h"

#include <omp.h>

#include <atomic>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

namespace kelpage {
namespace {

std::atomic<int> caught{0};
static_assert(std::atomic<int>::is_always_lock_free, "a handler writes it");

void remember(int number) {
    caught = number;
}

/// A signal that is ignored stays so.
void catchSignal(int number, struct sigaction& before) {
    struct sigaction action {};
    action.sa_handler = remember;
    action.sa_flags = static_cast<int>(SA_RESETHAND | SA_RESTART);
    sigaction(number, nullptr, &before);
    if (before.sa_handler != SIG_IGN) sigaction(number, &action, nullptr);
}

/// Hands out the pages and collects them.
class Team {
  public:
    explicit Team(const Jobs& jobs) : jobs_(jobs), isDone_(jobs.count) {}

    size_t run() {
        std::vector<std::thread> threads;
        try {
            for (int i = 1; i < jobs_.threads; ++i)
                threads.emplace_back([this] { work(); });
        } catch (const std::system_error&) {
            // Those that there are will do.
        }
        work();
        for (std::thread& thread : threads)
            thread.join();
        return told_;
    }

  private:
    void work() {
        // The library's own teams would only wait for each other where all processors have work.
        if (jobs_.threads > 1) omp_set_max_active_levels(0);
        while (caught == 0) {
            const size_t index = next_++;
            if (index >= jobs_.count) return;
            jobs_.work(index);
            finish(index);
        }
    }

    void finish(size_t index) {
        const std::lock_guard<std::mutex> lock(mutex_);
        isDone_[index] = true;
        while (told_ < jobs_.count && isDone_[told_])
            jobs_.tell(told_++);
        jobs_.show(++done_);
    }

    const Jobs& jobs_;
    std::atomic<size_t> next_{0};
    std::mutex mutex_;  ///< of what follows
    std::vector<bool> isDone_;
    size_t told_ = 0, done_ = 0;
};

}  // namespace

Interruption::Interruption() {
    caught = 0;
    catchSignal(SIGINT, beforeInt_);
    catchSignal(SIGTERM, beforeTerm_);
}

Interruption::~Interruption() {
    sigaction(SIGINT, &beforeInt_, nullptr);
    sigaction(SIGTERM, &beforeTerm_, nullptr);
}

int Interruption::signal() {
    return caught;
}

size_t runJobs(const Jobs& jobs) {
    return Team(jobs).run();
}

}  // namespace kelpage
