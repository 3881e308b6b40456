#include "uci/consoleInput.h"

#include <algorithm>
#include <exception>
#include <new>
#include <string_view>
#include <utility>

#include "platform/output.h"
#include "platform/parseText.h"
#include "search/worker.h"

namespace tarvonel
{
namespace
{

constexpr std::size_t maxBytesAhead = 2 * maxLineBytes; ///< the reader waits if there are more
constexpr std::size_t keptOfDropped = 15;               ///< fits in a string without allocation

/// Approximate memory of a line.
std::size_t footprint(const inputLine &line) { return sizeof line + line.text.size(); }

consoleInput *activeInput = nullptr; // used by the UCI loop's thread only

/// Appends the piece, or drops the line if it is too long or memory runs out.
void keepPiece(std::string_view piece, inputLine &line)
{
    if (line.isDropped)
        return;
    try
    {
        line.isDropped = line.text.size() + piece.size() > maxLineBytes;
        if (!line.isDropped)
            line.text += piece;
    }
    catch (const std::bad_alloc &)
    {
        line.isDropped = true;
    }
    if (line.isDropped)
        line.text = line.text.substr(0, keptOfDropped);
}

} // namespace

consoleInput::consoleInput(std::istream &source) : stream(source)
{
    activeInput = this;
    try
    {
        reader = std::thread(&consoleInput::readAhead, this);
    }
    catch (const std::exception &)
    {
        return; // nextLine reads the stream
    }
}

consoleInput::~consoleInput()
{
    if (reader.joinable())
        reader.join();
    activeInput = nullptr;
}

inputLine consoleInput::readLine()
{
    inputLine line;
    bool isCut = true; // the line continues after this piece
    while (isCut)
    {
        char piece[4096];
        stream.getline(piece, sizeof piece);
        auto length = static_cast<std::size_t>(stream.gcount());
        if (stream.bad() || (stream.eof() && length == 0 && line.text.empty()))
            return {quitWord};
        isCut = stream.fail() && !stream.eof();
        if (isCut)
            stream.clear();
        else if (!stream.eof())
            --length; // gcount includes the line end
        keepPiece({piece, length}, line);
    }
    return line;
}

void consoleInput::append(inputLine line)
{
    const std::string_view word = firstWord(line.text);
    std::unique_lock guard(lock);
    changed.wait(guard, [&] { return bytesAhead <= maxBytesAhead; });
    if (isSearchAwaited && (word == "stop" || word == quitWord))
        stopSearch = true;
    if (word == quitWord)
        isEnded = true;
    else
    {
        const std::size_t bytes = footprint(line);
        ahead.push_back(std::move(line));
        bytesAhead += bytes;
    }
    changed.notify_all();
}

void consoleInput::readAhead()
{
    for (bool isLast = false; !isLast;)
        try
        {
            inputLine line = readLine();
            isLast = firstWord(line.text) == quitWord;
            append(std::move(line));
        }
        catch (const std::bad_alloc &)
        {
            printText("info string Not enough memory for a line, dropped\n"); // needs no memory
        }
}

inputLine consoleInput::nextLine()
{
    if (!reader.joinable())
        return readLine();
    std::unique_lock guard(lock);
    changed.wait(guard, [&] { return isEnded || !ahead.empty(); });
    if (ahead.empty())
        return {quitWord};
    bytesAhead -= footprint(ahead.front());
    inputLine line = std::move(ahead.front());
    ahead.pop_front();
    changed.notify_all();
    return line;
}

void consoleInput::awaitSearch()
{
    {
        const std::lock_guard guard(lock);
        isSearchAwaited = true;
        if (isEnded || std::ranges::any_of(ahead, [](const inputLine &line) { return firstWord(line.text) == "stop"; }))
            stopSearch = true;
    }
    waitForSearch();
    const std::lock_guard guard(lock);
    isSearchAwaited = false;
}

void awaitSearchObeyingInput()
{
    if (activeInput != nullptr)
        activeInput->awaitSearch();
    else
        waitForSearch();
}

} // namespace tarvonel
