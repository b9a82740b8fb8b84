#pragma once

namespace sonvale::app {

/// Makes the C library keep freed memory in one heap. A recording's buffers are freed by other threads than
/// those that allocated them, and in another order. By default the C library keeps them in a fragmented heap
/// for each thread, and each dictation of a day would make the process larger.
///
/// Must be called before there is a second thread.

/// To be called before there is a second thread.
void keepFreedMemoryTogether();

/// Returns free memory to the system. Takes some milliseconds; any thread.
void returnFreedMemory();

} // namespace sonvale::app
