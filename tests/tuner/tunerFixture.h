// What the tests of the tuner share: a network in force, an empty list of positions, terms and K as
// shipped, and what the tuner prints.
#pragma once

#include <memory>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "board/pos.h"
#include "eval/evalTerms.h"
#include "support/syntheticNetwork.h"
#include "support/tuningLines.h"
#include "tuner/tunerOutput.h"
#include "tuner/tuningData.h"

namespace tarvonel
{

/// A data file of positions of random games: about half are taken, and a tenth measures the hand-set
/// terms.
inline std::string randomFileText(int lineCount)
{
    std::ostringstream text;
    writeTuningLines(text, lineCount, 1);
    return text.str();
}

class tunerFixture : public testing::Test
{
  protected:
    void SetUp() override
    {
        useSyntheticNetwork();
        TearDown();
    }
    void TearDown() override
    {
        tuningPositions.clear();
        tuningK = 3.55;
        tunableTerms = shippedTerms;
    }

    /// Takes the text of a data file in.
    void read(const std::string &fileText)
    {
        std::istringstream file(fileText);
        readTuningPositions(file, *position, print);
    }

    std::string printed;
    tunerOutput print = [this](std::string_view text) { printed += text; };
    std::unique_ptr<pos> position = std::make_unique<pos>();
};

} // namespace tarvonel
