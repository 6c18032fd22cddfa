// A progress bar on standard error, drawn only when that is a terminal.
#pragma once

#include <cstddef>
#include <string>

namespace kelpage {

class Progress {
  public:
    explicit Progress(size_t total);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// Shows what is being worked on.
    void show(const std::string& label);
    /// Counts one piece of work as done.
    void step();
    /// Wipes the bar, so that a line can be printed; the next show() draws it again.
    void clear();
    /// The same, from outside: clears the line of whatever bar is drawn.
    static void wipe();

  private:
    size_t total_;
    size_t done_ = 0;
    bool onTerminal_;
};

}  // namespace kelpage
