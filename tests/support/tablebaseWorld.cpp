#include "support/tablebaseWorld.h"

#include <random>

#include "tablebase/probe.h"

namespace tarvonel::endings
{

namespace
{

using freedom = choice::freedom;

const char *const threeMenNames[] = {"KQvK", "KRvK", "KBvK", "KNvK", "KPvK"};

/// The answers that a table may store for what the solver found.
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

bool isOfPawnsWorld(const ending &position)
{
    unsigned files = 0;
    for (int i = 0; i < position.count; ++i)
        if (position.types[i] == pawn)
            files |= 1u << fileOf(position.squares[i]);
    return files == 0b11 || files == 0b11000000;
}

void writeBoth(const solvedWorld &world, const std::string &name, const recipe &how)
{
    writeBytes(world.directory / (name + ".rtbw"), makeWdlTable(name, how, wdlChooser(world.solver)));
    writeBytes(world.directory / (name + ".rtbz"), makeDtzTable(name, how, dtzChooser(world.solver)));
}

/// Each file in another of the format's forms.
void writeThreeMen(solvedWorld &world)
{
    for (const char *name : threeMenNames)
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

solvedWorld::solvedWorld(bool withPawns)
{
    writeThreeMen(*this);
    if (withPawns)
        writePawns(*this);
}

const solvedWorld &threeMenWorld()
{
    static const solvedWorld world(false);
    return world;
}

const solvedWorld &pawnsWorld()
{
    static const solvedWorld world(true);
    return world;
}

ending threeMen(const std::string &name, int first, int second, int third, colour turn)
{
    ending position = menOfName(name);
    position.squares[0] = first;
    position.squares[1] = second;
    position.squares[2] = third;
    position.turn = turn;
    return position;
}

void tally::compare(const ending &position, int wanted, int got, int success)
{
    ++compared;
    if ((wanted != got || success == 0) && wrong++ == 0)
        first = describe(position) + ": wanted " + std::to_string(wanted) + ", got " + std::to_string(got) +
                ", success " + std::to_string(success);
}

void tally::expectNoneWrong(const std::string &what, long atLeast) const
{
    EXPECT_GE(compared, atLeast) << what;
    EXPECT_EQ(wrong, 0) << what << ", " << first;
}

void expectThreeMenAgree()
{
    const endingSolver &solver = threeMenWorld().solver;
    std::mt19937_64 random(1);
    for (const char *name : threeMenNames)
    {
        tally wdl, dtz;
        forAllPositions(name,
                        [&](const ending &position)
                        {
                            const ending asked = random() % 2 ? swappedColours(position) : position;
                            const int truth = solver.value(asked);
                            int success = 0;
                            const int result = probeWdl(toTbPosition(asked), success);
                            wdl.compare(asked, 2 * signOf(truth), result, success);
                            if (random() % 4 != 0)
                                return;
                            const int distance = probeDtz(toTbPosition(asked), success);
                            dtz.compare(asked, truth, distance, success);
                        });
        wdl.expectNoneWrong(name, 40000);
        dtz.expectNoneWrong(name, 10000);
    }
}

void forAllPositions(const std::string &name, const std::function<void(const ending &)> &use)
{
    ending position = menOfName(name);
    // The first pawn, or else the first man, on the left half of the board; without pawns on the lower half.
    const auto pawnAt = static_cast<int>(name.find('P'));
    const bool pawns = pawnAt >= 0;
    const int first = pawns ? pawnAt - (pawnAt > static_cast<int>(name.find('v'))) : 0;
    for (const colour turn : {white, black})
        for (int number = 0; number < 1 << (6 * position.count); ++number)
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
