/**
 * @file   task_board.cpp
 * @brief  The states and events of tasks, and the check for breaches of the protocol.
 */
#include "HostKit/task_board.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <iterator>

#include "HostKit/text_of.h"

namespace kesh_host {

namespace {

std::string thousandths(double value) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.3f", value);
    return text.data();
}

}  // namespace

TaskBoard::TaskBoard(Breaches& breaches)
    : breaches_(breaches), origin_(Task::Clock::now()), event_fd_(eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)) {}

TaskBoard::~TaskBoard() {
    if (event_fd_ >= 0) close(event_fd_);
}

void TaskBoard::breach(const std::string& what) const {
    breaches_.report(what);
}

mint TaskBoard::create() {
    const std::lock_guard lock(mutex_);
    if (tasks_.empty()) origin_ = Task::Clock::now();
    Task task;
    task.id = next_id_++;
    tasks_.emplace(task.id, task);
    return task.id;
}

DataStore TaskBoard::create_store() {
    const std::lock_guard lock(mutex_);
    if (!open_stores_.empty()) {
        breach("a DataStore was created while another event was still being built: two events overlap");
    }
    auto store = std::make_unique<st_DataStore>();
    DataStore handle = store.get();
    open_stores_.emplace(handle, std::move(store));
    return handle;
}

void TaskBoard::add(DataStore store, EventValue value) {
    const std::lock_guard lock(mutex_);
    const auto found = open_stores_.find(store);
    if (found == open_stores_.end()) {
        if (store == nullptr && missing_store_tolerated_) return;
        breach(store == nullptr ? "a value was added to a null DataStore"
                                : "a value was added to a DataStore that is not open: it was passed to the host "
                                  "before, or it was never created");
        return;
    }
    found->second->values.push_back(std::move(value));
}

void TaskBoard::discard(DataStore store) {
    const std::lock_guard lock(mutex_);
    discarded_stores_ += open_stores_.erase(store);
}

void TaskBoard::check_payload(const Task& task, std::string_view name, const st_DataStore& store) const {
    if (store.values.size() != 1) {
        breach(text_of("event \"", name, "\" of task ", task.id, " carries ", store.values.size(),
                       " values instead of one"));
        return;
    }
    const EventValue& value = store.values[0];
    const std::string* text = std::get_if<std::string>(&value);
    if (name == "Status") {
        const mreal* percent = std::get_if<mreal>(&value);
        if (percent == nullptr) {
            breach(text_of("event \"Status\" of task ", task.id, " carries no real number"));
        } else if (!(*percent >= 0 && *percent <= 100)) {
            breach(text_of("event \"Status\" of task ", task.id, " carries ", *percent, ", which is not a percentage"));
        } else if (*percent < task.percent && task.state == TaskState::counting && !task.shared) {
            breach(text_of("the progress of task ", task.id, " fell from ", thousandths(task.percent), " to ",
                           thousandths(*percent)));
        }
    } else if (name == "Result") {
        if (task.result_is_text ? text == nullptr : !std::holds_alternative<mint>(value)) {
            breach(text_of("event \"Result\" of task ", task.id, " carries no ",
                           task.result_is_text ? "string" : "integer"));
        }
    } else if (name == "Error") {
        if (text == nullptr || *text != "$Failed")
            breach(text_of("event \"Error\" of task ", task.id, " does not carry \"$Failed\""));
    }
}

void TaskBoard::check_order(Task& task, std::string_view name) {
    if (name != "Status" && name != "Result" && name != "Error") {
        breach(text_of("task ", task.id, " raised an event with the unknown name \"", name, "\""));
        return;
    }
    const bool late_status = name == "Status" && may_come_from_another_count(task);
    switch (task.state) {
        case TaskState::created:
            breach(text_of("event \"", name, "\" of task ", task.id, ", to which no count was submitted"));
            break;
        case TaskState::queued:
            if (counting_ != 0) {
                breach(text_of("event \"", name, "\" of task ", task.id, " while task ", counting_, " is counting"));
            }
            counting_ = task.id;
            last_counted_ = task.id;
            task.started = Task::Clock::now();
            task.turn = ++turns_;
            task.state = TaskState::counting;
            break;
        case TaskState::counting:
            break;
        case TaskState::reported:
            if (late_status) break;
            breach(text_of("event \"", name, "\" of task ", task.id, " after its \"", task.failed ? "Error" : "Result",
                           "\""));
            break;
        case TaskState::removed:
            if (late_status) break;
            breach(text_of("event \"", name, "\" of task ", task.id, " after its removal"));
            break;
    }
}

void TaskBoard::apply(Task& task, std::string_view name, const std::optional<EventValue>& value) {
    if (name == "Status") {
        ++task.status_events;
        ++status_total_;
        if (const mreal* percent = value ? std::get_if<mreal>(&*value) : nullptr) {
            task.percent = *percent;
            latest_percent_ = *percent;
            if (!task.first_percent) task.first_percent = *percent;
        }
        return;
    }
    if (task.state == TaskState::counting && (name == "Result" || name == "Error")) task.state = TaskState::reported;
    if (name == "Result") {
        task.result = value;
    } else if (name == "Error") {
        task.failed = true;
        task.result.reset();
    }
}

void TaskBoard::publish(Event event) {
    if (listener_) listener_(event);
    if (!keep_events_) return;
    events_.push_back(std::move(event));
    const std::uint64_t one = 1;
    // If the counter is full, the reader has been woken before.
    [[maybe_unused]] const ssize_t written = write(event_fd_, &one, sizeof one);
}

void TaskBoard::raise(mint id, std::string_view name, DataStore store) {
    const std::lock_guard lock(mutex_);
    std::unique_ptr<st_DataStore> payload;
    if (const auto found = open_stores_.find(store); found != open_stores_.end()) {
        payload = std::move(found->second);
        open_stores_.erase(found);
    } else if (!(store == nullptr && missing_store_tolerated_)) {
        breach(store == nullptr ? text_of("event \"", name, "\" of task ", id, " carries no DataStore")
                                : text_of("event \"", name, "\" of task ", id,
                                          " passes a DataStore that is not open: it was passed to the host before, or "
                                          "it was never created"));
    }
    const auto found = tasks_.find(id);
    if (found == tasks_.end()) {
        breach(text_of("event \"", name, "\" for task ", id, ", which does not exist"));
        return;
    }
    Task& task = found->second;
    check_order(task, name);
    task.shared = task.shared || (name == "Status" && may_come_from_another_count(task));
    if (payload) check_payload(task, name, *payload);
    std::optional<EventValue> value;
    if (payload && !payload->values.empty()) value = std::move(payload->values[0]);
    apply(task, name, value);
    publish(
        {std::chrono::duration<double>(Task::Clock::now() - origin_).count(), id, std::string(name), std::move(value)});
    changed_.notify_all();
}

mint TaskBoard::remove(mint id) {
    const std::lock_guard lock(mutex_);
    const auto found = tasks_.find(id);
    if (found == tasks_.end()) {
        breach(text_of("task ", id, " was removed, but does not exist"));
        return 0;
    }
    Task& task = found->second;
    if (task.state == TaskState::removed) {
        breach(text_of("task ", id, " was removed twice"));
        return 0;
    }
    if (task.state != TaskState::reported) {
        breach(text_of("task ", id, " was removed in the state ", state_name(task.state),
                       ", without a \"Result\" or an \"Error\""));
    }
    task.state = TaskState::removed;
    task.ended = Task::Clock::now();
    if (counting_ == id) counting_ = 0;
    publish({std::chrono::duration<double>(task.ended - origin_).count(), id, "removed", std::nullopt});
    changed_.notify_all();
    return id;
}

bool TaskBoard::submit(mint id, std::string what, bool result_is_text) {
    const std::lock_guard lock(mutex_);
    const auto found = tasks_.find(id);
    if (found == tasks_.end() || found->second.state != TaskState::created) return false;
    Task& task = found->second;
    task.state = TaskState::queued;
    task.what = std::move(what);
    task.result_is_text = result_is_text;
    task.submitted = task.started = Task::Clock::now();
    return true;
}

void TaskBoard::withdraw(mint id) {
    const std::lock_guard lock(mutex_);
    const auto found = tasks_.find(id);
    if (found == tasks_.end()) return;
    Task& task = found->second;
    if (task.state == TaskState::queued) task.state = TaskState::created;
    if (!task.running()) return;
    task.state = TaskState::removed;
    task.failed = true;
    task.result.reset();
    task.ended = Task::Clock::now();
    if (counting_ == id) counting_ = 0;
    changed_.notify_all();
}

TaskBoard::CountId TaskBoard::begin_count(CountCallback callback) {
    const std::lock_guard lock(mutex_);
    return counts_.emplace(callback, ++turns_);
}

void TaskBoard::end_count(CountId count) {
    const std::lock_guard lock(mutex_);
    counts_.erase(count);
}

bool TaskBoard::may_come_from_another_count(const Task& task) const {
    if (task.id != last_counted_) return false;
    if (counts_.contains(CountCallback::installed)) return true;
    // Equal keys keep the order of their insertion, so this is the count that began first.
    const auto own = counts_.find(CountCallback::own);
    return own != counts_.end() && own->second < task.turn;
}

void TaskBoard::on_event(Listener listener) {
    const std::lock_guard lock(mutex_);
    listener_ = std::move(listener);
}

void TaskBoard::tolerate_missing_store(bool tolerated) {
    const std::lock_guard lock(mutex_);
    missing_store_tolerated_ = tolerated;
}

void TaskBoard::forget_ended() {
    const std::lock_guard lock(mutex_);
    std::erase_if(tasks_, [this](const auto& entry) {
        return entry.second.state == TaskState::removed && entry.first != last_counted_;
    });
}

std::optional<Task> TaskBoard::find(mint id) const {
    const std::lock_guard lock(mutex_);
    const auto found = tasks_.find(id);
    if (found == tasks_.end()) return std::nullopt;
    return found->second;
}

std::vector<Task> TaskBoard::list() const {
    const std::lock_guard lock(mutex_);
    std::vector<Task> result;
    for (const auto& [id, task] : tasks_) result.push_back(task);
    return result;
}

std::size_t TaskBoard::running() const {
    const std::lock_guard lock(mutex_);
    return static_cast<std::size_t>(
        std::count_if(tasks_.begin(), tasks_.end(), [](const auto& entry) { return entry.second.running(); }));
}

std::size_t TaskBoard::queued() const {
    const std::lock_guard lock(mutex_);
    return static_cast<std::size_t>(std::count_if(
        tasks_.begin(), tasks_.end(), [](const auto& entry) { return entry.second.state == TaskState::queued; }));
}

std::pair<double, std::size_t> TaskBoard::latest_status() const {
    const std::lock_guard lock(mutex_);
    return {latest_percent_, status_total_};
}

bool TaskBoard::wait_removed(mint id, std::chrono::milliseconds limit) const {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, limit, [&] {
        const auto found = tasks_.find(id);
        return found == tasks_.end() || found->second.state == TaskState::removed;
    });
}

std::vector<Event> TaskBoard::take_events() {
    const std::lock_guard lock(mutex_);
    std::uint64_t count = 0;
    [[maybe_unused]] const ssize_t read_bytes = read(event_fd_, &count, sizeof count);
    std::vector<Event> result(std::make_move_iterator(events_.begin()), std::make_move_iterator(events_.end()));
    events_.clear();
    return result;
}

void TaskBoard::keep_events(bool keep) {
    const std::lock_guard lock(mutex_);
    keep_events_ = keep;
    if (!keep) events_.clear();
}

std::size_t TaskBoard::open_stores() const {
    const std::lock_guard lock(mutex_);
    return open_stores_.size();
}

std::size_t TaskBoard::discarded_stores() const {
    const std::lock_guard lock(mutex_);
    return discarded_stores_;
}

}  // namespace kesh_host
