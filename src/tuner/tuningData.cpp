#include "tuner/tuningData.h"

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <system_error>

#include "board/setup.h"
#include "eval/evaluate.h"
#include "eval/network.h"
#include "eval/networkFile.h"

namespace tarvonel
{

std::vector<tuningPosition> tuningPositions;
double tuningK = 3.55;

namespace
{

constexpr const char *markerWord = "c9"; ///< ends the position
constexpr int balanceLimit = 600;        ///< positions of this end-game balance and beyond teach nothing
constexpr int outputPerCentipawn = 58;   ///< raw output of the network, whatever the phase
constexpr int noLabelScore = 32767;
constexpr double probabilityScale = 400;

struct skippedLines
{
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
void takePosition(const std::string &fen, pos &position)
{
    if (!netLoaded || std::abs(egOf(balance(position))) >= balanceLimit)
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
}

} // namespace

double winProbability(int whiteScore) { return 1 / (1 + std::exp(-tuningK * whiteScore / probabilityScale)); }

bool loadTuningPositions(pos &position, const tunerOutput &print)
{
    // Anything but a regular file is refused: reading a pipe could wait for ever.
    std::error_code ignored;
    std::ifstream file;
    if (std::filesystem::is_regular_file(tuningFileName, ignored))
        file.open(tuningFileName);
    if (!file.is_open())
    {
        print("There seems to be a problem with the tuning file. tuning not executed\n");
        return false;
    }
    readTuningPositions(file, position, print);
    return true;
}

void readTuningPositions(std::istream &file, pos &position, const tunerOutput &print)
{
    skippedLines skipped;
    std::string lineText, fen;
    while (std::getline(file, lineText))
    {
        if (!readFenWords(lineText, fen))
            ++skipped.withoutMarker;
        else if (!setupPlayablePosition(fen, position).empty())
            ++skipped.unplayable;
        else
            takePosition(fen, position);
    }
    if (skipped.withoutMarker + skipped.unplayable > 0)
        print(lineOf("info string Lines skipped in ", tuningFileName, ": ", skipped.withoutMarker, " without ",
                     markerWord, ", ", skipped.unplayable, " without a playable position"));
}

} // namespace tarvonel
