// The program without its main(): arguments in, exit code out, messages on the standard streams.
#ifndef LXPAGE_COMMAND_LINE_H
#define LXPAGE_COMMAND_LINE_H

#include "error.h"

namespace lxpage
{

ExitCode runCommandLine(int argumentCount, const char* const* arguments);

} // namespace lxpage

#endif
