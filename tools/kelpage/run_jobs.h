// Several pages at once, and a run that is interrupted.
#pragma once

#include <csignal>
#include <cstddef>
#include <functional>

namespace kelpage {

/// While it lives, the first SIGINT or SIGTERM is remembered instead of ending the program; the
/// second one ends it.
class Interruption {
  public:
    Interruption();
    Interruption(const Interruption&) = delete;
    Interruption& operator=(const Interruption&) = delete;
    ~Interruption();

    /// The signal that came, or 0.
    static int signal();

  private:
    struct sigaction beforeInt_, beforeTerm_;
};

/// What a run does with each page, by its index.
struct Jobs {
    size_t count = 0;
    int threads = 1;
    std::function<void(size_t index)> work;  ///< on any thread; throws nothing
    std::function<void(size_t index)> tell;  ///< one at a time, in the order of the indexes
    std::function<void(size_t done)> show;   ///< one at a time: how many are done
};

/// Works until all is done, or until an interruption: what was begun is then ended.
/// @return how many were done; they are the first ones
size_t runJobs(const Jobs& jobs);

}  // namespace kelpage
