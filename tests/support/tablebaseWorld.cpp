#include "support/tablebaseWorld.h"

#include <cstdlib>

namespace tarvonel::endings
{

namespace
{

using freedom = choice::freedom;

void writeBoth(const solvedWorld &world, const std::string &name, const recipe &how)
{
    writeBytes(world.directory / (name + ".rtbw"), makeWdlTable(name, how, wdlChooser(world.solver)));
    writeBytes(world.directory / (name + ".rtbz"), makeDtzTable(name, how, dtzChooser(world.solver)));
}

/// Each file in another of the format's forms.
void writeThreeMen(solvedWorld &world)
{
    for (const char *name : {"KQvK", "KRvK", "KBvK", "KNvK", "KPvK"})
        world.solver.solve(name);
    recipe how;
    writeBoth(world, "KQvK", how);
    how.storedSide = 1;
    how.mapped = false;
    how.indexBits = 6;
    how.blockSizeBits = 6;
    how.places[1] = {"kKR", 0, 0};
    writeBoth(world, "KRvK", how);
    writeBoth(world, "KBvK", {});
    writeBoth(world, "KNvK", {});
    how = {};
    how.wide = true;
    how.places[0] = {"PkK", 1, 0};
    how.places[1] = {"PKk", 2, 0};
    how.maxPairs = 100;
    writeBoth(world, "KPvK", how);
}

void writePawns(solvedWorld &world)
{
    for (const auto &[name, result] :
         {std::pair{"KQvKP", 1}, std::pair{"KRvKP", 1}, std::pair{"KBvKP", 0}, std::pair{"KNvKP", 0}})
    {
        world.solver.assume(name, result);
        writeBytes(world.directory / (std::string(name) + ".rtbw"),
                   makeConstantWdlTable(name, 2 * result, -2 * result));
    }
    world.solver.solve("KPvKP", isOfPawnsWorld);
    recipe how;
    how.bothSides = false;
    how.files = 2;
    how.places[0] = {"PpkK", 2, 0};
    how.winPlies = false;
    const auto within = [](const chooser &choose) -> chooser
    { return [choose](const ending &position) { return isOfPawnsWorld(position) ? choose(position) : choice{}; }; };
    writeBytes(world.directory / "KPvKP.rtbw", makeWdlTable("KPvKP", how, within(wdlChooser(world.solver))));
    writeBytes(world.directory / "KPvKP.rtbz", makeDtzTable("KPvKP", how, within(dtzChooser(world.solver))));
}

} // namespace

chooser wdlChooser(const endingSolver &solver)
{
    return [&solver](const ending &position)
    {
        const int truth = signOf(solver.valueWithoutEp(position));
        for (const endingMove &move : legalMoves(position))
            if (move.capture && -signOf(solver.value(move.next)) == truth)
                return choice{2 * truth, freedom::orLess};
        return choice{2 * truth, freedom::exact};
    };
}

chooser dtzChooser(const endingSolver &solver)
{
    return [&solver](const ending &position)
    {
        const int truth = solver.valueWithoutEp(position);
        if (truth == 0)
            return choice{};
        if (truth == 1)
            for (const endingMove &move : legalMoves(position))
                if ((move.capture || move.pawnMove) && solver.value(move.next) < 0)
                    return choice{};
        return choice{truth, freedom::exact};
    };
}

const solvedWorld &threeMenWorld()
{
    struct threeMen : solvedWorld
    {
        threeMen() { writeThreeMen(*this); }
    };
    static const threeMen world;
    return world;
}

bool isOfPawnsWorld(const ending &position)
{
    unsigned files = 0;
    for (int i = 0; i < position.count; ++i)
        if (position.types[i] == pawn)
            files |= 1u << fileOf(position.squares[i]);
    return files == 0b11 || files == 0b11000000;
}

const solvedWorld &pawnsWorld()
{
    struct pawns : solvedWorld
    {
        pawns()
        {
            writeThreeMen(*this);
            writePawns(*this);
        }
    };
    static const pawns world;
    return world;
}

void forAllPositions(const std::string &name, const std::function<void(const ending &)> &use)
{
    ending position = menOfName(name);
    // The first pawn, or else the first man, on the left half of the board; without pawns on the lower half.
    int first = 0;
    for (int i = 0; i < position.count; ++i)
        if (position.types[i] == pawn && position.types[first] != pawn)
            first = i;
    const bool pawns = position.types[first] == pawn;
    const int total = 1 << (6 * position.count);
    for (const colour turn : {white, black})
        for (int number = 0; number < total; ++number)
        {
            for (int i = 0; i < position.count; ++i)
                position.squares[i] = number >> (6 * i) & 63;
            position.turn = turn;
            if (fileOf(position.squares[first]) <= fileD && (pawns || rankOf(position.squares[first]) <= rank4) &&
                isPossible(position))
                use(position);
        }
}

} // namespace tarvonel::endings
