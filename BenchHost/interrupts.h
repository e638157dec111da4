/**
 * @file   interrupts.h
 * @brief  Ctrl-C: counted, turned into AbortQ's answer, and, pressed often enough, the way out.
 */
#pragma once

namespace bench_host {

/** Takes over SIGINT for the process. */
void install_interrupt_handler();

/**
 * While it lives, Ctrl-C belongs to the running call: the first press makes AbortQ answer 1, and the
 * `presses_to_leave`-th ends the process with status 130 (a sieve cannot be stopped in any other way).
 */
class InterruptScope {
  public:
    explicit InterruptScope(int presses_to_leave);
    ~InterruptScope();
    InterruptScope(const InterruptScope&) = delete;
    InterruptScope& operator=(const InterruptScope&) = delete;
};

/** Presses since the current scope began, or since the last clear. */
int interrupts_seen();
void clear_interrupts();

/** Readable from the first press on until the next clear: whichever thread the signal reached, a poll wakes up. */
int interrupt_fd();

/** For who finds it readable and no press: the clear came between the two in another thread's handler. */
void empty_interrupt_fd();

}  // namespace bench_host
