#include "uci/netFile.h"

#include <string>

#include "board/engineOptions.h"
#include "eval/networkFile.h"
#include "platform/output.h"
#include "search/worker.h"

namespace tarvonel
{

void useNetFile()
{
    loadNetFile(engineOptions.netFileName);
    clearEvaluationCaches();
    if (!netLoaded)
        printNetFileMissing("a position");
}

void printNetFileMissing(const char *what)
{
    printInfo("NetFile not found/correct: " + engineOptions.netFileName + ". Unable to calculate the best move for " +
              what + ".");
}

} // namespace tarvonel
