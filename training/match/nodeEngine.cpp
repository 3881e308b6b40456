// The engine with `go nodes N` as a limit, for matches that depend on neither clock nor machine.
//
// It exceeds the limit by at most some hundred nodes. Instead of iterations it reports the last
// score before each answer.
#include <iostream>
#include <span>
#include <string_view>

#include "board/engineOptions.h"
#include "board/moveCode.h"
#include "eval/evaluate.h"
#include "platform/output.h"
#include "search/searchReporter.h"
#include "search/worker.h"
#include "uci/console.h"

namespace tarvonel
{

namespace
{

constexpr int hashMegabytes = 2; ///< holds some 130 000 nodes
constexpr std::string_view handSetWord = "--hand-set";

void answer(moveCode best, moveCode ponder, colour side, const pos &rooks)
{
    const searchResult &found = theBoss().result;
    printText("info score cp " + std::to_string(found.score) + " depth " + std::to_string(found.depth) + " nodes " +
              std::to_string(found.nodes) + '\n' + answerText(best, ponder, side, rooks) + '\n');
}

int runEngine(std::span<char *> words)
{
    if (!words.empty() && words.front() == handSetWord)
    {
        networkLimit = 0;
        words = words.subspan(1);
    }
    engineOptions.hashMegabytes = hashMegabytes;
    return runConsole(std::cin, words, {.reports = {.answer = answer}, .obeysNodes = true});
}

} // namespace

} // namespace tarvonel

int main(int argc, char **argv)
{
    const std::span<char *> all(argv, static_cast<std::size_t>(argc));
    return tarvonel::runEngine(all.subspan(all.empty() ? 0 : 1));
}
