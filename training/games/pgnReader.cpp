#include "games/pgnReader.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <map>

#include "board/makeMove.h"
#include "board/setup.h"
#include "games/pgn.h"
#include "platform/parseText.h"
#include "search/score.h"
#include "words.h"

namespace tarvonel
{

namespace
{

constexpr double widestScore = 300; ///< pawns; mate scores are beyond
constexpr int farthestMate = 500;   ///< plies
constexpr int highestMoveNumber = 10'000;

/// Results that say nothing about the position, as the tag Termination or the last comment names
/// them, in lower case.
constexpr const char *faultWords[] = {"abandoned",      "crash",        "disconnect", "forfeit",
                                      "gave no answer", "illegal",      "on time",    "out of time",
                                      "stall",          "unterminated", "went away"};

bool namesFault(std::string text)
{
    std::ranges::transform(text, text.begin(), [](unsigned char letter) { return std::tolower(letter); });
    return std::ranges::any_of(faultWords, [&](const char *word) { return text.find(word) != std::string::npos; });
}

struct rawGame
{
    std::map<std::string, std::string> tags;
    std::string moves; ///< everything after the tags
};

/// Whether the line is a tag. Comments of match managers contain no such line.
bool isTag(const std::string &line) { return line.size() > 1 && line[0] == '[' && std::isalpha(line[1]) != 0; }

void addTag(rawGame &game, const std::string &line)
{
    const std::size_t open = line.find('"');
    const std::size_t close = line.rfind('"');
    if (open < close)
        game.tags[line.substr(1, line.find(' ') - 1)] = line.substr(open + 1, close - open - 1);
}

/// False at the end of the text.
bool nextRawGame(pgnReader &reader, rawGame &game)
{
    game = {};
    std::string line;
    std::swap(line, reader.nextLine);
    for (bool open = !line.empty() || std::getline(reader.text, line); open; open = !!std::getline(reader.text, line))
    {
        if (!isTag(line))
            game.moves += line + '\n';
        else if (game.moves.find_first_not_of(" \r\n") == std::string::npos)
            addTag(game, line);
        else
        {
            reader.nextLine = line;
            return true;
        }
    }
    return !game.tags.empty() || game.moves.find_first_not_of(" \r\n") != std::string::npos;
}

std::optional<int> pointsOf(const std::string &result)
{
    return result == "1-0"       ? std::optional(2)
           : result == "0-1"     ? std::optional(0)
           : result == "1/2-1/2" ? std::optional(1)
                                 : std::nullopt;
}

/// The end of the variation that begins at `start`; npos if it is not closed.
std::size_t endOfVariation(const std::string &text, std::size_t start)
{
    int depth = 0;
    for (std::size_t i = start; i < text.size(); ++i)
    {
        if (text[i] == '{')
            i = text.find('}', i);
        if (i == std::string::npos)
            break;
        depth += text[i] == '(' ? 1 : text[i] == ')' ? -1 : 0;
        if (depth == 0)
            return i;
    }
    return std::string::npos;
}

/// The word without a leading move number such as "12." or "12...".
std::string withoutNumber(const std::string &word)
{
    const std::size_t afterDigits = word.find_first_not_of("0123456789");
    if (afterDigits == std::string::npos)
        return {};
    const std::size_t afterDots = word.find_first_not_of('.', afterDigits);
    return afterDots == afterDigits ? word : afterDots == std::string::npos ? "" : word.substr(afterDots);
}

bool playWord(storedGame &game, posWithMoves &board, const std::string &word)
{
    const moveCode move = findNotation(board.position, legalMoves(board), word);
    if (move == noMove || game.moves.size() == longestStoredGame)
        return false;
    game.moves.push_back({packMove(move), unscored});
    playGameMove(board.position, move);
    return true;
}

/// Plays the moves of the text, up to `result`. False if the game is not whole and legal, or a comment
/// on its end names a fault.
bool playMoves(storedGame &game, posWithMoves &board, const std::string &text, const std::string &result)
{
    std::string comments; // since the last move
    for (std::size_t i = 0, end = 0; i < text.size(); i = end)
    {
        end = i + 1;
        if (std::isspace(static_cast<unsigned char>(text[i])) != 0)
            continue;
        if (text[i] == '{' || text[i] == '(')
        {
            const std::size_t last = text[i] == '{' ? text.find('}', i) : endOfVariation(text, i);
            if (last == std::string::npos)
                return false;
            end = last + 1;
            if (text[i] == '(')
                continue;
            const std::string comment = text.substr(i + 1, last - i - 1);
            comments += comment;
            if (!game.moves.empty() && game.moves.back().score == unscored)
                game.moves.back().score = static_cast<std::int16_t>(commentScore(comment));
            continue;
        }
        end = std::min(text.find_first_of(text[i] == ';' ? "\n" : " \t\r\n{}();", i + 1), text.size());
        const std::string word = withoutNumber(text.substr(i, end - i));
        if (word == result)
            return !namesFault(comments + text.substr(end));
        if (word.empty() || word[0] == '$' || word[0] == ';')
            continue;
        if (!playWord(game, board, word))
            return false;
        comments.clear();
    }
    return false;
}

std::optional<storedGame> playGame(const rawGame &raw, posWithMoves &board)
{
    const auto tag = [&](const char *name, const char *fallback)
    {
        const auto found = raw.tags.find(name);
        return found == raw.tags.end() ? fallback : found->second;
    };
    const std::string result = tag("Result", "*");
    const std::string fen = tag("FEN", startPositionFen);
    const std::string termination = tag("Termination", "");
    const std::optional<int> points = pointsOf(result);
    if (!points || namesFault(termination) || !setupPlayablePosition(fen, board.position).empty())
        return std::nullopt;
    storedGame game;
    game.start = packStart(board.position);
    game.whitePoints = *points;
    const std::vector<std::string> fields = splitWords(fen);
    const int moveNumber = fields.size() > 5 ? wholeNumber<int>(fields[5]).value_or(1) : 1;
    game.earlierPlies = 2 * (std::clamp(moveNumber, 1, highestMoveNumber) - 1) + board.position.sideToMove;
    return playMoves(game, board, raw.moves, result) ? std::optional(game) : std::nullopt;
}

} // namespace

int commentScore(const std::string &comment)
{
    for (const std::string &word : splitWords(comment))
    {
        const std::size_t slash = word.find('/');
        const std::string value = word.substr(0, slash);
        const bool isSigned = value.starts_with('+') || value.starts_with('-');
        const bool isNegative = value.starts_with('-');
        const std::size_t first = isSigned ? 1 : 0;
        if (value.size() > first && value[first] == 'M')
        {
            const std::optional<int> plies = wholeNumber<int>(value.substr(first + 1));
            if (plies && *plies >= 0)
                return (isNegative ? -1 : 1) * (scoreMate - std::min(*plies, farthestMate));
        }
        else if (slash != std::string::npos && wholeNumber<int>(word.substr(slash + 1)))
            if (const std::optional<double> pawns = wholeNumber<double>(value))
                return static_cast<int>(std::lround(std::clamp(*pawns, -widestScore, widestScore) * 100));
    }
    return unscored;
}

std::optional<storedGame> nextPgnGame(pgnReader &reader, posWithMoves &board)
{
    for (rawGame raw; nextRawGame(reader, raw); ++reader.leftOut)
        if (std::optional<storedGame> game = playGame(raw, board))
            return game;
    return std::nullopt;
}

} // namespace tarvonel
