#include "tablebase/tableProbe.h"

#include "tablebase/tableRegistry.h"

namespace tarvonel
{

int probeTable(const tbPosition &position, int wdl, int &success, tableKind kind)
{
    const std::uint64_t signature = materialSignature(position, white);
    if (signature == 0 && kind == wdlKind)
        return 0; // the kings alone

    tablebaseEntry *entry = findTable(signature);
    const mappedTable *table =
        entry == nullptr || (kind == dtzKind && !entry->hasDtz) ? nullptr : openTable(*entry, kind);
    if (table == nullptr)
    {
        success = 0;
        return 0;
    }

    const bool flip = entry->material.symmetric ? position.turn == 0 : signature != entry->signature;
    int value = 0;
    switch (lookUpTable(*table, entry->material, kind, position, flip, wdl, value))
    {
    case lookUp::found:
        return value;
    case lookUp::otherSide:
        success = -1;
        return 0;
    case lookUp::corrupt:
        disableTable(*entry, kind);
        break;
    case lookUp::noTablePosition:
        break;
    }
    success = 0;
    return 0;
}

} // namespace tarvonel
