#include "commands/command_line.h"
#include "files/output_file.h"
#include "standard_streams.h"

int main(int argc, char** argv)
{
    lxpage::occupyClosedStreams();
    lxpage::prepareForSignals();
    return static_cast<int>(lxpage::runCommandLine(argc, argv));
}
