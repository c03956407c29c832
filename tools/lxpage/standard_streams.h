// What the user reads: lines on the standard output, which may get lost, and complaints on standard error.
#ifndef LXPAGE_STANDARD_STREAMS_H
#define LXPAGE_STANDARD_STREAMS_H

#include "error.h"

namespace lxpage
{

// Keeps the numbers of standard streams that are closed from becoming those of the tool's own files, which would get
// what is meant for the streams. For the start of the program.
void occupyClosedStreams();

// Throws a WriteFailed PageError if anything printed so far is lost: without words if it is for want of a reader, who
// knows best.
void flushOutput();

// Tells the user of the exception that is being handled, after all that has been printed so far.
ExitCode complain();

} // namespace lxpage

#endif
