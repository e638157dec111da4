/**
 * @file   line_reader.cpp
 * @brief  Reads lines with libedit; while it waits for a key, it prints events and notices Ctrl-C.
 */
#include "prompt/line_reader.h"

#include <fmt/format.h>
#include <histedit.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <cwchar>
#include <filesystem>
#include <iterator>

#include "HostKit/host.h"
#include "calls/interrupts.h"
#include "prompt/completion.h"
#include "terminal/output.h"
#include "terminal/terminal.h"

namespace kesh_host {

namespace {

/** Ctrl-D. */
constexpr char end_of_input = 4;

constexpr int history_length = 1000;

/** The file of the history: $XDG_STATE_HOME/kesh-host/history, or below ~/.local/state. Empty if there is none. */
std::string history_path() {
    namespace fs = std::filesystem;
    const char* state = std::getenv("XDG_STATE_HOME");
    const char* home = std::getenv("HOME");
    fs::path folder;
    if (state != nullptr && *state != '\0') {
        folder = state;
    } else if (home != nullptr && *home != '\0') {
        folder = fs::path(home) / ".local" / "state";
    } else {
        return "";
    }
    std::error_code error;
    fs::create_directories(folder / "kesh-host", error);
    return error ? "" : (folder / "kesh-host" / "history").string();
}

}  // namespace

/** The terminal of the prompt. libedit passes its handle to callbacks; the client data of the handle is this object. */
class LineReader::Terminal {
  public:
    explicit Terminal(Session& session)
        : session_(session),
          edit_(el_init("kesh-host", stdin, stdout, stderr), el_end),
          history_(history_init(), history_end),
          history_file_(history_path()) {
        HistEvent event;
        history(history_.get(), &event, H_SETSIZE, history_length);
        history(history_.get(), &event, H_SETUNIQUE, 1);
        if (!history_file_.empty()) history(history_.get(), &event, H_LOAD, history_file_.c_str());
        el_set(edit_.get(), EL_CLIENTDATA, this);
        el_set(edit_.get(), EL_EDITOR, "emacs");
        el_set(edit_.get(), EL_HIST, history, history_.get());
        el_set(edit_.get(), EL_PROMPT_ESC, prompt_text, '\1');
        el_set(edit_.get(), EL_GETCFN, read_character);
        el_set(edit_.get(), EL_ADDFN, "kesh-complete", "Complete the name before the cursor", complete);
        el_set(edit_.get(), EL_BIND, "^I", "kesh-complete", nullptr);
        el_set(edit_.get(), EL_BIND, "^R", "em-inc-search-prev", nullptr);
        el_source(edit_.get(), nullptr);
    }

    /** The next line without its end; false at Ctrl-D. */
    bool read(std::string& line) {
        clear_interrupts();
        int count = 0;
        const char* text = el_gets(edit_.get(), &count);
        if (text == nullptr || count <= 0) {
            // Ctrl-C at the prompt deletes the line; any other end of the input ends the prompt.
            if (interrupts_seen() == 0) return false;
            el_reset(edit_.get());
            print("^C\n");
            line.clear();
            return true;
        }
        line.assign(text, static_cast<std::size_t>(count));
        while (!line.empty() && (line.back() == '\n' || line.back() == '\r')) line.pop_back();
        if (line.find_first_not_of(" \t") != std::string::npos) remember(line);
        return true;
    }

  private:
    void remember(const std::string& line) {
        HistEvent event;
        history(history_.get(), &event, H_ENTER, line.c_str());
        if (!history_file_.empty()) history(history_.get(), &event, H_SAVE, history_file_.c_str());
    }

    static Terminal* self(EditLine* edit) {
        void* reader = nullptr;
        el_get(edit, EL_CLIENTDATA, &reader);
        return static_cast<Terminal*>(reader);
    }

    static char* prompt_text(EditLine* edit) {
        Terminal* reader = self(edit);
        const Style style(STDOUT_FILENO, reader->session_.defaults().colour);
        const std::size_t open = host().tasks.running();
        const std::size_t queued = std::min(host().tasks.queued(), open);
        std::string plain = open == 0 ? "kesh>" : fmt::format("kesh ({} running, {} queued)>", open - queued, queued);
        if (open > 0 && queued == 0) plain = fmt::format("kesh ({} running)>", open);
        // \1 ... \1 encloses characters that take no room on the screen; libedit drops it at the very end.
        reader->prompt_ = (style.coloured() ? fmt::format("\1\033[1;34m\1{}\1\033[0m\1", plain) : plain) + " ";
        return reader->prompt_.data();
    }

    /** Waits for a key; prints the tasks' events above the line meanwhile. */
    static int read_character(EditLine* edit, wchar_t* character) {
        Terminal* reader = self(edit);
        std::mbstate_t state{};
        for (;;) {
            if (interrupts_seen() > 0) return 0;
            pollfd waits[] = {
                {STDIN_FILENO, POLLIN, 0}, {host().tasks.event_fd(), POLLIN, 0}, {interrupt_fd(), POLLIN, 0}};
            if (poll(waits, std::size(waits), -1) < 0) {
                if (errno == EINTR) continue;
                return -1;
            }
            if (waits[1].revents != 0) reader->show_events();
            if (waits[2].revents != 0 && interrupts_seen() == 0) empty_interrupt_fd();
            if (waits[0].revents == 0) continue;
            char byte = 0;
            const ssize_t got = ::read(STDIN_FILENO, &byte, 1);
            if (got < 0 && errno == EINTR) continue;
            if (got <= 0) return 0;
            // A Ctrl-D that was typed while a call ran, when the terminal was in line mode, is read as a zero byte.
            // libedit would take it for the key that quotes the next key, because the terminal has disabled that key.
            if (byte == 0) byte = end_of_input;
            const std::size_t used = std::mbrtowc(character, &byte, 1, &state);
            if (used == static_cast<std::size_t>(-2)) continue;  // more bytes of the same character follow
            if (used == static_cast<std::size_t>(-1)) {
                state = std::mbstate_t{};
                continue;
            }
            return 1;
        }
    }

    void show_events() {
        std::fputs("\r\033[K", stdout);
        std::fflush(stdout);
        session_.events().print(session_.defaults());
        el_set(edit_.get(), EL_REFRESH);
    }

    static unsigned char complete(EditLine* edit, int) {
        const LineInfo* info = el_line(edit);
        const std::string_view before(info->buffer, static_cast<std::size_t>(info->cursor - info->buffer));
        std::size_t begin = 0;
        const std::vector<std::string> names = completions(before, begin);
        if (names.empty()) return CC_REFRESH_BEEP;
        std::string common = names[0];
        for (const std::string& name : names) {
            const auto differ = std::mismatch(common.begin(), common.end(), name.begin(), name.end()).first;
            common.erase(differ, common.end());
        }
        const std::string_view typed = before.substr(begin);
        // The typed letters may be in the middle of the names, or differ in case.
        const auto same = [](char a, char b) { return std::tolower(a & 0xff) == std::tolower(b & 0xff); };
        const bool holds_typed =
            std::search(common.begin(), common.end(), typed.begin(), typed.end(), same) != common.end();
        const bool nearer = names.size() == 1 || (common.size() > typed.size() && holds_typed);
        if (nearer) {
            if (names.size() == 1) common += ' ';
            el_deletestr(edit, static_cast<int>(typed.size()));
            el_insertstr(edit, common.c_str());
            return CC_REFRESH;
        }
        show_choices(names);
        return CC_REDISPLAY;
    }

    static void show_choices(const std::vector<std::string>& names) {
        std::size_t longest = 0;
        for (const std::string& name : names) longest = std::max(longest, name.size());
        const std::size_t columns = std::max<std::size_t>(1, terminal_width(STDOUT_FILENO) / (longest + 2));
        std::string text = "\n";
        for (std::size_t i = 0; i < names.size(); ++i) {
            text += fmt::format("{:<{}}", names[i], longest + 2);
            if ((i + 1) % columns == 0 || i + 1 == names.size()) text += '\n';
        }
        print(text);
    }

    Session& session_;
    std::unique_ptr<EditLine, void (*)(EditLine*)> edit_;
    std::unique_ptr<History, void (*)(History*)> history_;
    std::string history_file_;
    std::string prompt_;
};

LineReader::LineReader(Session& session) : terminal_(std::make_unique<Terminal>(session)) {}

LineReader::~LineReader() = default;

bool LineReader::read(std::string& line) {
    return terminal_->read(line);
}

}  // namespace kesh_host
