#include "uci/diagnostics.h"

#include <algorithm>
#include <cstdint>
#include <string>

#include "board/setup.h"
#include "eval/evaluate.h"
#include "platform/output.h"
#include "search/transpositionTable.h"
#include "search/worker.h"
#include "uci/commandGuards.h"
#include "uci/positionCommand.h"

namespace tarvonel
{
namespace
{

constexpr int ttDepths = 128;

struct ttTally
{
    std::uint64_t total = 0;
    std::uint64_t used = 0;
    std::uint64_t withMove = 0;
    std::uint64_t byBound[boundExact + 1] = {};
    std::uint64_t byAge[ttAges] = {};
    std::uint64_t byDepth[ttDepths] = {};
};

void tallyEntry(ttEntry entry, ttTally &tally)
{
    constexpr int ageAndBoundShift = 56;
    if (entry.word >> ageAndBoundShift == 0)
        return;
    ++tally.used;
    ++tally.byBound[entry.bound()];
    ++tally.byAge[entry.age()];
    ++tally.byDepth[std::max(entry.depth(), 0)];
    tally.withMove += entry.move() != noMove;
}

ttTally tallyTable()
{
    ttTally tally;
    for (std::uint64_t cluster = 0; cluster <= ttMask; ++cluster)
        for (const relaxed<std::uint64_t> &word : ttTable[cluster].data)
            tallyEntry(ttEntry{word}, tally);
    tally.total = (ttMask + 1) * ttSlots;
    tally.used = std::max<std::uint64_t>(tally.used, 1);
    return tally;
}

std::string boundRow(std::uint64_t upper, std::uint64_t lower, std::uint64_t exact)
{
    return std::to_string(upper) + "\t - " + std::to_string(lower) + "\t - " + std::to_string(exact) + '\n';
}

template <std::size_t Rows> std::string distribution(const std::uint64_t (&counts)[Rows], const ttTally &tally)
{
    std::string lines;
    for (std::size_t row = 0; row < Rows; ++row)
        lines += std::to_string(row) + "  " + std::to_string(counts[row]) + " - " +
                 std::to_string(counts[row] * 100 / tally.used) + " - " +
                 std::to_string(counts[row] * 100 / tally.total) + '\n';
    return lines;
}

} // namespace

void showBoard() { printText(boardText(mainPos)); }

void printEvaluation()
{
    if (!awaitSearchEnd("evil") || !isMainPositionPlayable())
        return;
    theBoss().adopt(mainPos);
    pos &position = theBoss().position;
    refreshSums(position);
    printLine("Evaluation : " + std::to_string(evaluate(0, position)));
}

void hashStatistics()
{
    const ttTally tally = tallyTable();
    const std::uint64_t upper = tally.byBound[boundUpper], lower = tally.byBound[boundLower],
                        exact = tally.byBound[boundExact];
    std::string report = "Size of info : pos structure : " + std::to_string(sizeof(pos)) +
                         " posinfo structure : " + std::to_string(sizeof(posinfo)) + '\n';
    report += "Hash Statistics \nNumber of entries " + std::to_string(tally.total) + '\n';
    report += "Used entries " + std::to_string(tally.used) + '\n';
    report += "Type of entries UPPER - LOWER - EXACT " + boundRow(upper, lower, exact);
    report += "Percentage of entries UPPER - LOWER - EXACT " +
              boundRow(upper * 100 / tally.used, lower * 100 / tally.used, exact * 100 / tally.used);
    report += "Number of Hashmoves " + std::to_string(tally.withMove) + '\n';
    report += "Age distribution nof - prcused - prctotal\n" + distribution(tally.byAge, tally);
    report += "Depth distribution \n" + distribution(tally.byDepth, tally);
    printText(report);
}

} // namespace tarvonel
