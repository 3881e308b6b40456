#include "tablebase/tbPosition.h"

namespace tarvonel
{

std::uint64_t materialSignature(const tbPosition &position, colour firstSide)
{
    const bitboard sides[2] = {menOf(position, firstSide), menOf(position, opponent(firstSide))};
    std::uint64_t signature = 0;
    for (int type = pawn; type < signatureTypes; ++type)
    {
        const bitboard set = position.*typeSets[type];
        for (int side = 0; side < 2; ++side)
            // Most sets are empty or hold one man: stepping through beats counting.
            for (bitboard men = set & sides[side]; men != 0; men &= men - 1)
                signature += signatureParts[side][type];
    }
    return signature;
}

} // namespace tarvonel
