// SPDX-License-Identifier: MIT
#include <iostream>
#include <string>
#include <vector>

#include "simulator/deck/DeckTool.h"

int main(int argc, char** argv) {
    return orselsim::RunDeckTool(std::vector<std::string>(argv + 1, argv + argc), std::cout, std::cerr);
}
