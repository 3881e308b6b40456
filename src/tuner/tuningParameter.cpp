#include "tuner/tuningParameter.h"

#include <iomanip>
#include <sstream>

#include "board/pieceValues.h"

namespace tarvonel
{

namespace
{

constexpr std::size_t rowLength = 8;
constexpr std::size_t halfRow = rowLength / 2;
constexpr int halfWidth = 4; ///< characters of a number inside X(mg, eg)

std::size_t parametersPerEntry(const tuningParameter &parameter) { return parameter.singleHalf > 0 ? 1 : 2; }

std::int32_t wrappingSum(std::int32_t a, int b)
{
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) + static_cast<std::uint32_t>(b));
}

bool hasBraces(int printKind)
{
    return printKind != singleConstant && printKind != alsoSingleConstant && printKind != middleBoardRow &&
           printKind != lastBoardRow;
}

void writeHead(const tuningParameter &table, std::ostream &text)
{
    if (table.printKind < firstBoardRow)
        text << "TCONST combEval " << table.name << " = ";
    else if (table.printKind == firstBoardRow)
        text << "TCONST combEval pieceSquareScore[6][NOFSQUARES] = ";
    else
        text << "// " << table.name << '\n';
    if (hasBraces(table.printKind))
        text << "\n{\n";
}

/// Entries of a table that are not parameters.
struct fixedEntries
{
    const char *leading, *trailing;
};
constexpr fixedEntries fixedEntriesOf[] = {
    // by printForm; the first five are other braced tables and single constants
    {"", ""},
    {"", ""},
    {"", ""},
    {"", ""},
    {"", ""},
    {" X(   0,   0), ", ""},
    {" X(   0,   0), ", ", X( 0, 0) "},
    {" X(   0,   0),  X(   0,   0), ", ", X( 0, 0) "},
    {" 0, ", ""},
    {" X(  82,  94), ", ", X(12000, 12000) "},
    {"", ",\n"},
    {"", ",\n"},
    {"", ""},
};

const char *tail(int printKind)
{
    if (printKind == singleConstant || printKind == alsoSingleConstant)
        return ";\n";
    return printKind == firstBoardRow || printKind == middleBoardRow ? "" : "\n};\n";
}

void writeEntry(std::int32_t value, bool isPair, std::ostream &text)
{
    if (isPair)
        text << "X(" << std::setw(halfWidth) << mgOf(value) << ',' << std::setw(halfWidth) << egOf(value) << ')';
    else
        text << value;
}

/// Includes mirror images, and the rows of zeros around a table of pawns.
void writeEntries(const tuningParameter &table, std::ostream &text)
{
    const std::size_t count = table.tableSize * (table.mirrored ? 2U : 1U) + (table.pawnRows ? 2 * rowLength : 0);
    const std::int32_t *entry = table.pawnRows ? table.value - rowLength : table.value;
    for (std::size_t written = 1; written <= count; ++written)
    {
        writeEntry(*entry++, table.isPair, text);
        if (written < count)
            text << (written % rowLength == 0 ? ", \n" : ", ");
    }
}

} // namespace

void addTable(parameterList &parameters, const tuningTable &table)
{
    const int tableStart = static_cast<int>(parameters.size());
    const bool isPair = table.halves != tunedHalves::integer;
    for (std::uint32_t entry = 0; entry < table.size; ++entry)
    {
        const std::size_t place = table.mirrored ? entry / halfRow * rowLength + entry % halfRow : entry;
        tuningParameter parameter = {
            .name = table.name,
            .value = table.first + place,
            .tableSize = table.size,
            .tableStart = tableStart,
            .singleHalf = table.halves == tunedHalves::both ? 0 : 1,
            .printKind = table.printKind,
            .stepIndex = table.stepIndex,
            .isPair = isPair,
            .pawnRows = table.pawnRows,
            .mirrored = table.mirrored,
            .wholeValue = table.halves != tunedHalves::endGame,
        };
        parameters.push_back(parameter);
        if (table.halves == tunedHalves::both)
        {
            parameter.wholeValue = false;
            parameters.push_back(parameter);
        }
    }
}

void applyStep(const parameterList &parameters, std::size_t index, int amount)
{
    const tuningParameter &parameter = parameters[index];
    std::int32_t &value = *parameter.value;
    if (parameter.wholeValue)
        value = wrappingSum(value, amount);
    else
        value = X(mgOf(value), static_cast<std::int16_t>(egOf(value) + amount));
    if (!parameter.mirrored)
        return;
    const std::size_t entry = (index - static_cast<std::size_t>(parameter.tableStart)) / parametersPerEntry(parameter);
    parameter.value[rowLength - 1 - 2 * (entry % halfRow)] = value;
}

void writeMirrorImages(const parameterList &parameters)
{
    for (std::size_t index = 0; index < parameters.size(); ++index)
        applyStep(parameters, index, 0);
}

void printParameters(const parameterList &parameters, const tunerOutput &print)
{
    if (parameters.empty())
        return;
    std::ostringstream text;
    for (std::size_t index = 0; index < parameters.size();)
    {
        const tuningParameter &table = parameters[index];
        writeHead(table, text);
        text << fixedEntriesOf[table.printKind].leading;
        writeEntries(table, text);
        text << fixedEntriesOf[table.printKind].trailing << tail(table.printKind);
        index += table.tableSize * (table.isPair && table.singleHalf == 0 ? 2U : 1U);
    }
    print(text.str());
}

} // namespace tarvonel
