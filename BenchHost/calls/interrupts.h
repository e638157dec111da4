/**
 * @file   interrupts.h
 * @brief  Ctrl-C: counts the presses, makes AbortQ return 1, and ends the process after enough of them.
 */
#pragma once

#include <optional>

namespace kesh_host {

/** Installs the handler of SIGINT for the process. */
void install_interrupt_handler();

/** Whether the call that runs in a scope can be stopped. */
enum class Stoppable { yes, no };

/**
 * While it exists, Ctrl-C applies to the running call: the first press makes AbortQ return 1, and the
 * `presses_to_leave`-th ends the process with status 130 (a sieve cannot be stopped in any other way). The automatic
 * press of press_after ends the process at once, with status 1, if the call cannot be stopped.
 */
class InterruptScope {
  public:
    InterruptScope(int presses_to_leave, Stoppable stoppable);
    ~InterruptScope();
    InterruptScope(const InterruptScope&) = delete;
    InterruptScope& operator=(const InterruptScope&) = delete;
};

/** Makes an automatic press this many seconds after each scope begins, until it is set again. */
void press_after(std::optional<double> seconds);

/** Presses since the current scope began, or since the last clear. */
int interrupts_seen();
/** Whether there is one. */
inline bool stop_asked() {
    return interrupts_seen() > 0;
}
/** The exit code of a stopped call: that of Ctrl-C, or, after an automatic press, that of a failed call. */
int exit_code_when_stopped();
void clear_interrupts();

/**
 * A descriptor that is readable from the first press to the next clear, so that a poll wakes up, whichever thread got
 * the signal.
 */
int interrupt_fd();

/**
 * Drains the descriptor when it is readable but no press is counted: a clear came between the two steps of a handler on
 * another thread.
 */
void empty_interrupt_fd();

}  // namespace kesh_host
