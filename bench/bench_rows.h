// The table of benchmarks: each row is one operation of ours beside its peer, on one page.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace bench {

/// A call to time. It runs on buffers that outlive it.
using Call = std::function<void()>;

/// One timed line of the table.
struct Row {
    std::string operation;
    std::string page;
    Call ours;
    std::string peerName;
    Call peer;
    double bar;                   ///< ours is to take at most this many times the peer's time
    std::function<bool()> equal;  ///< compares our result with a plain form; run before timing
};

/// Adds a row, unless the run is told to leave it out; called by the files of each subject.
void addRow(Row row);

/// Fill the table. One function a subject, called once by main.
void addCopyRows();
void addBridgeRows();
void addImBridgeRows();
void addImFileRows();
void addFileRows();
void addBinarizeRows();
void addEnhanceRows();
void addImProcessRows();
void addLevelRows();
void addAnalysisRows();
void addAreaRows();
void addGeometryRows();

/// Adds an operation that may use two threads.
void addTeamRow(const std::string& name, const Call& call);

/// Prints what two threads bring.
void printTeamTable();
void addColourRows();

/// Prints how much memory the operations take.
void printMemoryTable();
void printLoadMemoryTable();

}  // namespace bench
