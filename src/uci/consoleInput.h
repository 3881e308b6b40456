// The input of the UCI loop, read ahead by another thread, so that `stop`, `quit` and the end of the input
// take effect while the loop waits for a search.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <istream>
#include <mutex>
#include <string>
#include <thread>

namespace tarvonel
{

inline constexpr const char *quitWord = "quit";

/// Longer lines are dropped. A `position` with 20 000 moves has a fortieth of this length.
inline constexpr std::size_t maxLineBytes = std::size_t{4} << 20;

struct inputLine
{
    std::string text;       ///< without the line end; only the beginning if `isDropped`
    bool isDropped = false; ///< too long, or no memory for it
};

class consoleInput
{
  public:
    /// Starts to read `source`, which must outlive this, up to a line that begins with `quit` or the end. If
    /// no thread can be started, lines are read on the caller's thread when needed.
    explicit consoleInput(std::istream &source);
    /// Waits until the last line has been read, which can block.
    ~consoleInput();
    consoleInput(const consoleInput &) = delete;
    consoleInput &operator=(const consoleInput &) = delete;

    /// Waits for the next line; `quit` at the end of the input.
    inputLine nextLine();

    /// Waits for the running search. A `stop` or `quit` among the lines read ahead, or the end of the input,
    /// stops it. The lines remain and are executed later.
    void awaitSearch();

  private:
    void readAhead();
    inputLine readLine();
    void append(inputLine line);

    std::istream &stream;
    std::mutex lock;
    std::condition_variable changed;
    std::deque<inputLine> ahead; ///< guarded by `lock`, as are those below
    std::size_t bytesAhead = 0;
    bool isEnded = false; ///< no line will follow those in `ahead`
    bool isSearchAwaited = false;
    std::thread reader;
};

/// Waits for the running search, if any, by `consoleInput::awaitSearch` if there is a `consoleInput`.
void awaitSearchObeyingInput();

} // namespace tarvonel
