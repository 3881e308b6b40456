// What the tests of the tuner share: a network in force, an empty list of positions, terms and K as
// shipped, and what the tuner prints.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "board/pos.h"
#include "tuner/tunerOutput.h"

namespace tarvonel
{

class tunerFixture : public testing::Test
{
  protected:
    void SetUp() override;
    void TearDown() override;

    /// Takes the text of a data file in.
    void read(const std::string &fileText);
    /// Leaves the positions that the network scores out of the list.
    static void keepHandSetPositions();
    /// Replaces each label by what the tunable terms, as they stand, say.
    static void labelByTerms();

    std::string printed;
    tunerOutput print = [this](std::string_view text) { printed += text; };
    std::unique_ptr<pos> position = std::make_unique<pos>();
};

/// The lines of a data file: random positions that the tuner takes, about a third of which are so
/// unbalanced that the hand-set terms score them.
std::string randomFileText(int count);

/// The mean error of the positions read by its definition, by the shipped terms and the K in force.
double errorByDefinition();

/// The end-game balance, which chooses between the evaluators.
int endGameBalance(const posHead &head);

std::vector<std::string> linesOf(const std::string &text);

} // namespace tarvonel
