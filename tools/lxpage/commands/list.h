// The subcommands. One file each: a function that declares the command's options and what it does, and a line in the
// list of list.cpp.
#ifndef LXPAGE_COMMANDS_LIST_H
#define LXPAGE_COMMANDS_LIST_H

#include <span>

namespace CLI
{
class App;
}

namespace lxpage
{

using AddCommand = void (*)(CLI::App& app);

std::span<const AddCommand> commands();

} // namespace lxpage

#endif
