// What a run tells about a page: to people, to machines, and to the next run.
#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "kel_define.h"

namespace kelpage {

enum class Step { load, binary, skew, turn, edges, holes, seal, spots, save, pictures };
constexpr size_t kSteps = 10;

const char* nameOf(Step step);

/// Milliseconds by step.
using StepTimes = std::array<double, kSteps>;

enum class Fate { done, blank, dropped, failed };  ///< blank: and saved; dropped: and not saved

const char* nameOf(Fate fate);

/// A file that was written.
struct Written {
    std::string name;  ///< in the folder of the run
    uintmax_t bytes = 0;
};

struct PageResult {
    Fate fate = Fate::done;
    kelSize size{};
    int channels = 0;
    double skew = 0.0, sureness = 0.0;  ///< degrees clockwise; see Skew
    bool isTurned = false;
    std::string level;  ///< of the binarization, in a few words
    double edges = 0.0, seal = 0.0,
           ink = 0.0;             ///< shares of the page; ink: as blank pages are told
    size_t holes = 0, spots = 0;  ///< filled, removed
    std::vector<Written> outputs;
    StepTimes times{};

    Step failedAt = Step::load;  ///< this and the next two: of a page that failed
    int code = 0;
    std::string reason;

    double milliseconds() const;
};

/// Tells the time of steps, and which one is under way when something is thrown.
class StepClock {
  public:
    explicit StepClock(PageResult& result) : result_(result) {}

    template <class Work>
    void run(Step step, Work work) {
        result_.failedAt = step;
        const auto start = std::chrono::steady_clock::now();
        work();
        const std::chrono::duration<double, std::milli> spent =
            std::chrono::steady_clock::now() - start;
        result_.times[static_cast<size_t>(step)] += spent.count();
    }

  private:
    PageResult& result_;
};

/// Names and values, as text.
using Fields = std::vector<std::pair<std::string, std::string>>;

/// All of a result but a failure.
Fields fieldsOf(const PageResult& result);

/// The reverse. Unknown names are passed over.
PageResult resultOf(const Fields& fields);

/// One object of JSON in one line, without a line end.
/// @param file      the input
/// @param number    its page, from 1
/// @param isResumed an earlier run did it
std::string jsonOf(const PageResult& result, const std::string& file, int number,
                   const std::string& name, bool isResumed);

}  // namespace kelpage
