/**
 * @file   host_count.h
 * @brief  Informs the check of the protocol that a count runs on a thread of the host.
 */
#pragma once

#include <optional>

#include "HostKit/export_table.h"
#include "HostKit/task_board.h"

namespace kesh_host {

/** Create it for the duration of a call of the export. Does nothing for exports that do not count. */
class HostCount {
  public:
    HostCount(TaskBoard& board, const Export& entry) : board_(board) {
        if (entry.route == Route::status) count_ = board_.begin_count(CountCallback::installed);
        if (entry.route == Route::as_task) count_ = board_.begin_count(CountCallback::own);
    }
    ~HostCount() {
        if (count_) board_.end_count(*count_);
    }
    HostCount(const HostCount&) = delete;
    HostCount& operator=(const HostCount&) = delete;

  private:
    TaskBoard& board_;
    std::optional<TaskBoard::CountId> count_;
};

}  // namespace kesh_host
