// The console's input, read ahead by a thread of its own: `stop`, `quit` and the end of the input take
// effect while the console waits for a search.
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

/// Longer lines are dropped. A `position` with 20 000 moves is a fortieth of this.
inline constexpr std::size_t maxLineBytes = std::size_t{4} << 20;

struct inputLine
{
    std::string text;       ///< without its end; only the beginning if `isDropped`
    bool isDropped = false; ///< too long, or no memory for it
};

class consoleInput
{
  public:
    /// Starts to read `source`, which must outlive this, up to a line that begins with `quit` or to
    /// the end. Without a thread or memory for one, reads on the caller's thread, not ahead.
    explicit consoleInput(std::istream &source);
    /// Waits for the last line. If that was not taken, the stream may block for ever.
    ~consoleInput();
    consoleInput(const consoleInput &) = delete;
    consoleInput &operator=(const consoleInput &) = delete;

    /// The next line, `quit` at the end of the input. Waits for it.
    inputLine nextLine();

    /// Waits for the running search. A `stop` or `quit` among the lines ahead or the end of the input
    /// stops it. The lines stay and are executed in their turn.
    void awaitSearch();

  private:
    void readAhead();
    inputLine readLine();
    void append(inputLine line);

    std::istream &stream;
    std::mutex lock;
    std::condition_variable changed;
    std::deque<inputLine> ahead; ///< guarded, as are those below
    std::size_t bytesAhead = 0;
    bool isEnded = false; ///< no line will follow those in `ahead`
    bool isSearchAwaited = false;
    std::thread reader;
};

/// Waits for the running search, if any: as `consoleInput::awaitSearch` while a console reads.
void awaitSearchObeyingInput();

} // namespace tarvonel
