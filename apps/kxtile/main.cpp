// SPDX-License-Identifier: MIT
#include "Command.h"

int main(int argc, char** argv)
{
    return KxTileHost::RunCommandLine(argc, argv);
}
