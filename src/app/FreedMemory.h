#pragma once

namespace sonvale::app {

/// A recording's buffers are freed by other threads than those that made them, and in another order. Left
/// alone, the C library keeps them in a heap for each thread, full of holes: every dictation of a day would
/// leave the process a little larger.

/// To be called before there is a second thread.
void keepFreedMemoryTogether();

/// Gives what is free back to the system. Some milliseconds; any thread.
void returnFreedMemory();

} // namespace sonvale::app
