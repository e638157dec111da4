/**
 * @file   interrupts.h
 * @brief  Ctrl-C: counted, turned into AbortQ's answer, and, pressed often enough, the way out.
 */
#pragma once

#include <optional>

namespace kesh_host {

/** Takes over SIGINT for the process. */
void install_interrupt_handler();

/** Whether the call that a scope belongs to notices a press by itself. */
enum class Stoppable { yes, no };

/**
 * While it lives, Ctrl-C belongs to the running call: the first press makes AbortQ answer 1, and the
 * `presses_to_leave`-th ends the process with status 130 (a sieve cannot be stopped in any other way). The press that
 * comes by itself ends the process at once, with status 1, where the call cannot be stopped.
 */
class InterruptScope {
  public:
    InterruptScope(int presses_to_leave, Stoppable stoppable);
    ~InterruptScope();
    InterruptScope(const InterruptScope&) = delete;
    InterruptScope& operator=(const InterruptScope&) = delete;
};

/** Has a press come by itself this many seconds after the next scope begins, and after each one until it is set anew.
 */
void press_after(std::optional<double> seconds);

/** Presses since the current scope began, or since the last clear. */
int interrupts_seen();
/** What a stopped call tells the shell: that the user pressed Ctrl-C, or, after the press that came by itself, that the
 * call did not succeed. */
int exit_code_when_stopped();
void clear_interrupts();

/** Readable from the first press on until the next clear: whichever thread the signal reached, a poll wakes up. */
int interrupt_fd();

/** For who finds it readable and no press: the clear came between the two in another thread's handler. */
void empty_interrupt_fd();

}  // namespace kesh_host
