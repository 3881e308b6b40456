#include "uci/genfensCommand.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>

#include "board/engineOptions.h"
#include "board/setup.h"
#include "eval/networkFile.h"
#include "platform/output.h"
#include "platform/parseNumber.h"
#include "uci/commandGuards.h"
#include "uci/options.h"
#include "uci/ownSearches.h"
#include "uci/positionCommand.h"
#include "uci/randomOpening.h"

namespace tarvonel
{
namespace
{

constexpr int maxOpenings = 1'000'000;
constexpr int searchDepth = 6;
constexpr int hashMegabytes = 1;
constexpr int fewestPliesFromBook = 4; ///< few: the book brings variety
constexpr int maxTries = 100;          ///< for one opening: a book may have no balanced one

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

/// Nothing if a number is missing or wrong. Skips unknown words.
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
    return std::abs(searchAfresh(searchDepth).score) <= widestOpening;
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
    const setAsideState before = beginOwnSearches(1, hashMegabytes);
    printOpenings(*plan, opening);
    endOwnSearches(before);
}

} // namespace tarvonel
