#include "commands/command_line.h"
#include "files/output_file.h"

int main(int argc, char** argv)
{
    lxpage::removeTemporaryOnSignals();
    return static_cast<int>(lxpage::runCommandLine(argc, argv));
}
