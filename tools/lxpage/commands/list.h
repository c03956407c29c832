// The subcommands: a function each, which declares the command's options and what it does. They are in the files of
// their families; command_line.cpp calls them.
#ifndef LXPAGE_COMMANDS_LIST_H
#define LXPAGE_COMMANDS_LIST_H

namespace CLI
{
class App;
}

namespace lxpage
{

void addAngle(CLI::App& app);
void addColor(CLI::App& app);
void addDemo(CLI::App& app);
void addFullColor(CLI::App& app);
void addGray(CLI::App& app);
void addHalftone(CLI::App& app);
void addMask(CLI::App& app);
void addMedian(CLI::App& app);
void addPage(CLI::App& app);
void addPaste(CLI::App& app);
void addQuantize(CLI::App& app);
void addRotate(CLI::App& app);
void addScale(CLI::App& app);
void addSharpen(CLI::App& app);
void addThumbnail(CLI::App& app);
void addTone(CLI::App& app);

} // namespace lxpage

#endif
