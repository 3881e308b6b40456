#include "tuner/tuningData.h"

#include <cmath>
#include <cstdlib>
#include <fstream>
#include <new>
#include <sstream>

#include "board/setup.h"
#include "eval/evaluate.h"
#include "eval/network.h"
#include "eval/networkFile.h"
#include "platform/fileMapping.h"
#include "platform/parseText.h"

namespace tarvonel
{

std::deque<tuningPosition> tuningPositions;
double tuningK = 3.55;

namespace
{

constexpr const char *markerWord = "c9"; ///< ends the position
constexpr int balanceLimit = 600;        ///< positions with at least this end-game balance are left out
constexpr int outputPerCentipawn = 58;   ///< raw output of the network, whatever the phase
constexpr int noLabelScore = 32767;
constexpr double probabilityScale = 400;

struct lineTally
{
    std::uint64_t taken = 0;
    std::uint64_t handSet = 0; ///< of those taken, the ones scored by the hand-set evaluation
    std::uint64_t withoutMarker = 0;
    std::uint64_t unplayable = 0;
};

/// Reads the words before the marker into `fen`, each followed by a blank. False if there is no marker.
bool readFenWords(const std::string &lineText, std::string &fen)
{
    std::istringstream words(lineText);
    fen = joinWords(words, markerWord) + ' ';
    return !words.fail();
}

/// Adds the position to the list unless its balance is too large.
void takePosition(const std::string &fen, pos &position, lineTally &tally)
{
    const int imbalance = std::abs(egOf(balance(position)));
    if (imbalance >= balanceLimit)
        return;
    const int score = networkOutput(position, 0) / outputPerCentipawn;
    if (score == noLabelScore)
        return;
    const posinfo &root = position.info[0];
    tuningPositions.push_back({
        .fen = fen,
        .head = position,
        .label = winProbability(position.sideToMove == white ? score : -score),
        .castling = root.castling,
        .enPassant = static_cast<std::uint8_t>(root.enPassant),
        .inCheck = root.inCheck,
    });
    ++tally.taken;
    tally.handSet += imbalance >= networkLimit;
}

/// Takes the positions of all lines. Returns an error, or null.
const char *takeLines(std::istream &file, pos &position, lineTally &tally)
try
{
    file.exceptions(std::ios::badbit); // otherwise running out of memory would look like the end of the file
    std::string lineText, fen;
    while (std::getline(file, lineText))
    {
        if (!readFenWords(lineText, fen))
            ++tally.withoutMarker;
        else if (!setupPlayablePosition(fen, position).empty())
            ++tally.unplayable;
        else
            takePosition(fen, position, tally);
    }
    return nullptr;
}
catch (const std::bad_alloc &)
{
    return " does not fit in memory";
}
catch (const std::ios_base::failure &)
{
    return " cannot be read to its end";
}

} // namespace

double winProbability(int whiteScore) { return 1 / (1 + std::exp(-tuningK * whiteScore / probabilityScale)); }

bool loadTuningPositions(pos &position, const tunerOutput &print)
{
    // Only a regular file: reading a pipe could block forever.
    std::ifstream file;
    if (readableFileSize(tuningFileName) >= 0)
        file.open(tuningFileName);
    if (!file.is_open())
    {
        print("There seems to be a problem with the tuning file. tuning not executed\n");
        return false;
    }
    if (!netLoaded)
    {
        print("info string There is no network to label positions by: tuning not executed\n");
        return false;
    }
    return readTuningPositions(file, position, print);
}

bool readTuningPositions(std::istream &file, pos &position, const tunerOutput &print)
{
    const auto known = static_cast<std::ptrdiff_t>(tuningPositions.size());
    lineTally tally;
    if (const char *const failure = takeLines(file, position, tally); failure != nullptr)
    {
        tuningPositions.erase(tuningPositions.begin() + known, tuningPositions.end());
        print(lineOf("info string ", tuningFileName, failure, ": tuning not executed"));
        return false;
    }
    print(lineOf("info string Positions taken from ", tuningFileName, ": ", tally.taken, ", of which ", tally.handSet,
                 " measure the hand-set terms"));
    if (tally.withoutMarker + tally.unplayable > 0)
        print(lineOf("info string Lines skipped in ", tuningFileName, ": ", tally.withoutMarker, " without ",
                     markerWord, ", ", tally.unplayable, " without a playable position"));
    if (tuningPositions.empty())
        print("info string There is no position to tune with: tuning not executed\n");
    return !tuningPositions.empty();
}

} // namespace tarvonel
