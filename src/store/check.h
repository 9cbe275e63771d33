#pragma once

#include <QtGlobal>

// Checks of states that a mistake elsewhere (in the program, or in a file it read) can bring about at
// run time. A failed check logs the condition with its file and line, and the caller goes on along a
// safe path of its own; nothing aborts, in any build:
//
//     if (!VYRO_CHECK(index < size))
//         return {};
//
// For a state that no input can reach, Q_ASSERT stays the tool.
#define VYRO_CHECK(condition) \
    (Q_LIKELY(condition) ? true : (vyroCheckFailed(#condition, __FILE__, __LINE__), false))

// Logs "Check failed: <condition> (<file>:<line>)".
void vyroCheckFailed(const char* condition, const char* file, int line);

class Status;
// Logs why a Result has no value and aborts: reading the value of a failed Result is a fault the
// caller cannot recover from, so it must not turn into reading an empty object.
[[noreturn]] void vyroResultHasNoValue(const Status& status);
