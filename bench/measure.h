// What is measured: a table of rows, each an operation, the floors it is held against, and a limit for the ratio.
#pragma once

#include <vector>

#include "core/types.h"

namespace bench {

using namespace zelfdb;

// Code that is timed as a whole: does its operation ops times.
struct Piece {
    const char* name;
    void (*run)(u32 ops);
};

// One row. Its pieces work on one and the same database, in turns, so that no piece has the better memory.
struct Measured {
    const char* name;
    double limit;  // of measured / sum of the floors; 0 = shown, never over
    u32 ops;       // per timed block
    u32 entries;   // learned entries in the database
    void (*setup)(u32 entries);
    void (*prepare)(u32 ops);  // before every block, not timed; may be null
    Piece measured;
    std::vector<Piece> floors;
    bool (*intact)();  // after the last block: did every piece do what it claims?
    u32 repetitions = 41;
};

extern const std::vector<Measured> learning_rows;
extern const std::vector<Measured> reading_rows;
extern const std::vector<Measured> opening_rows;
extern const std::vector<Measured> stream_rows;
extern const std::vector<Measured> classify_rows;

// Hands a row to Google Benchmark.
void add(const Measured& row);

// Runs what was added and the filter selects, and prints the table. The number of rows over their limit, or -1 if a row could
// not be measured or none was selected.
int run_all();

}  // namespace bench
