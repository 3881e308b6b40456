// `bench` and `genfens`, which run searches of their own: with their own threads and table, and without
// reports.
#include "uci/commands.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <memory>
#include <optional>
#include <utility>

#include "board/engineOptions.h"
#include "board/setup.h"
#include "eval/networkFile.h"
#include "platform/clock.h"
#include "platform/output.h"
#include "platform/parseText.h"
#include "search/searchReporter.h"
#include "search/transpositionTable.h"
#include "search/worker.h"
#include "uci/benchPositions.h"
#include "uci/commandGuards.h"
#include "uci/options.h"
#include "uci/positionCommand.h"
#include "uci/randomOpening.h"

namespace tarvonel
{
namespace
{

constexpr int maxOpenings = 1'000'000;
constexpr int openingDepth = 6;
constexpr int openingHashMegabytes = 1;
constexpr int fewestPliesFromBook = 4; ///< the book provides variety
constexpr int maxTries = 100;          ///< per opening; a book may have no balanced ones

/// The state that such searches overwrite.
struct setAsideState
{
    std::unique_ptr<pos> position; ///< `mainPos`
    engineOptionValues options;
    searchLimitValues limits;
    searchReporter installed;
};

/// Sets threads and table to the sizes in the options.
void resizeToOptions()
{
    engineOptions.threadCount = rebuildWorkerPool(engineOptions.threadCount);
    resizeHashTable(engineOptions.hashMegabytes);
}

setAsideState beginOwnSearches(int threads, int hashMegabytes)
{
    setAsideState before{std::make_unique<pos>(mainPos), engineOptions, searchLimits, std::exchange(reporter, {})};
    engineOptions.threadCount = threads;
    engineOptions.hashMegabytes = hashMegabytes;
    resizeToOptions();
    return before;
}

/// Restores everything but the contents of the table, which is empty afterwards.
void endOwnSearches(const setAsideState &before)
{
    mainPos = *before.position;
    engineOptions = before.options;
    searchLimits = before.limits;
    reporter = before.installed;
    resizeToOptions();
}

/// Searches `mainPos` to `depth` with empty table, histories and caches. Overwrites the limits.
searchResult searchAfresh(int depth)
{
    ttClear();
    clearWorkerHistory();
    clearEvaluationCaches();
    return runSearch(mainPos, {.depthLimit = depth});
}

struct genfensPlan
{
    int count = 0;
    std::uint64_t seed = 0;
    std::string bookFile; ///< empty for no book
};

std::string asUpper(std::string word)
{
    std::ranges::transform(word, word.begin(), [](unsigned char letter) { return std::toupper(letter); });
    return word;
}

/// Nothing if a number is missing or invalid. Skips unknown words.
std::optional<genfensPlan> readPlan(std::istream &words)
{
    std::string word;
    words >> word;
    genfensPlan plan{wholeNumber<int>(word).value_or(0), 0, {}};
    for (std::string value; words >> word;)
        if (word == "seed" && words >> value)
        {
            const std::optional<std::uint64_t> seed = wholeNumber<std::uint64_t>(value);
            if (!seed)
                return std::nullopt;
            plan.seed = *seed;
        }
        else if (word == "book" && words >> value)
            plan.bookFile = asUpper(value) == "NONE" ? "" : value;
    return plan.count >= 1 && plan.count <= maxOpenings ? std::optional(plan) : std::nullopt;
}

bool isBalanced(const std::string &fen)
{
    setupPosition(fen, mainPos);
    return std::abs(searchAfresh(openingDepth).score) <= widestOpening;
}

/// Empty if no balanced opening was found.
std::string balancedOpening(posWithMoves &board, const openingPlan &plan, randomSource &random)
{
    for (int i = 0; i < maxTries; ++i)
    {
        const int plies = drawOpening(board, plan, random);
        std::string fen = fenOf(board.position, engineOptions.chess960, 1 + std::max(plies, 0) / 2);
        if (plies >= 0 && isBalanced(fen))
            return fen;
    }
    return {};
}

void printOpenings(const genfensPlan &plan, const openingPlan &opening)
{
    const auto board = std::make_unique<posWithMoves>();
    randomSource random(plan.seed);
    for (int i = 0; i < plan.count; ++i)
    {
        const std::string fen = balancedOpening(*board, opening, random);
        if (fen.empty())
            return refuse("genfens finds no balanced opening");
        printInfo("genfens " + fen);
    }
}

} // namespace

benchEffort searchBenchPositions(int depth)
{
    benchEffort effort;
    const std::int64_t start = millisecondsNow();
    for (const benchPosition &entry : benchPositions)
    {
        engineOptions.chess960 = entry.chess960;
        setupPosition(entry.fen, mainPos);
        effort.nodes += searchAfresh(depth).nodes;
    }
    effort.milliseconds = std::max<std::int64_t>(millisecondsNow() - start, 1);
    return effort;
}

void bench(const benchSettings &settings)
{
    if (!netLoaded)
        return refuseWithoutNetwork("a position");
    const setAsideState before = beginOwnSearches(settings.threads, settings.hashMegabytes);
    const benchEffort effort = searchBenchPositions(settings.depth);
    endOwnSearches(before);
    constexpr std::uint64_t millisecondsPerSecond = 1000;
    printLine(std::to_string(effort.nodes) + " nodes " +
              std::to_string(effort.nodes * millisecondsPerSecond / static_cast<std::uint64_t>(effort.milliseconds)) +
              " nps");
}

void genfensCommand(std::istream &words)
{
    const std::optional<genfensPlan> plan = readPlan(words);
    if (!plan)
        return refuse("genfens needs a count from 1 to " + std::to_string(maxOpenings) + " and a whole seed");
    if (!netLoaded)
        return refuseWithoutNetwork("a position");
    openingPlan opening;
    opening.chess960Share = engineOptions.chess960 ? 1 : 0;
    const openingBook book = plan->bookFile.empty() ? openingBook() : readOpeningBook(plan->bookFile);
    if (!plan->bookFile.empty())
    {
        if (book.fens.empty())
            return refuse("genfens finds no positions in " + plan->bookFile);
        opening.book = book.fens;
        opening.fewestPlies = fewestPliesFromBook;
    }
    const setAsideState before = beginOwnSearches(1, openingHashMegabytes);
    printOpenings(*plan, opening);
    endOwnSearches(before);
}

} // namespace tarvonel
