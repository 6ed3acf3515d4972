// SPDX-License-Identifier: MIT
#include "cli/CommandLine.h"

int main(int argc, char** argv) {
    return kvx::tool::RunCommandLine(argc, argv);
}
