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

namespace tarvonel
{

std::deque<tuningPosition> tuningPositions;
double tuningK = 3.55;

namespace
{

constexpr const char *markerWord = "c9"; ///< ends the position
constexpr int balanceLimit = 600;        ///< positions of this end-game balance and beyond teach nothing
constexpr int outputPerCentipawn = 58;   ///< raw output of the network, whatever the phase
constexpr int noLabelScore = 32767;
constexpr double probabilityScale = 400;

/// What became of the lines of a file.
struct lineTally
{
    std::uint64_t taken = 0;
    std::uint64_t handSet = 0; ///< of those taken, the ones that the network does not score
    std::uint64_t withoutMarker = 0;
    std::uint64_t unplayable = 0;
};

/// Puts the words before the marker, each followed by a blank, into `fen`; false if there is no
/// marker.
bool readFenWords(const std::string &lineText, std::string &fen)
{
    std::istringstream words(lineText);
    fen.clear();
    for (std::string word; words >> word && word != markerWord;)
        fen += word + ' ';
    return !words.fail();
}

/// Adds the position to the list unless it is too one-sided to be labelled.
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

/// Takes the positions of all lines; returns what failed, or null.
const char *takeLines(std::istream &file, pos &position, lineTally &tally)
try
{
    file.exceptions(std::ios::badbit); // a line for which memory ends would otherwise pass as the last
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
    // Anything but a regular file is refused: reading a pipe could wait for ever.
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
