// SPDX-License-Identifier: MIT
// Process entry.
#include "viewer/ViewerApp.h"

int main(int argc, char** argv) {
    return viewer::Main(argc, argv);
}
