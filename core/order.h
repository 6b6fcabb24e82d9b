// The order of stores, for whoever finds the segments as a process that died left them.
#pragma once

#include <atomic>

namespace zelfdb {

// The stores before it are made before those behind it. Processors keep a process's own order; this holds the compiler to it.
inline void keep_order() { std::atomic_signal_fence(std::memory_order_seq_cst); }

}  // namespace zelfdb
