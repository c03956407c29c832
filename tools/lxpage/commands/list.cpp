#include "commands/list.h"

namespace lxpage
{

void addAngle(CLI::App& app);
void addColor(CLI::App& app);
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
void addDemo(CLI::App& app);

std::span<const AddCommand> commands()
{
    static constexpr AddCommand list[] = {
        addAngle, addColor,    addFullColor, addGray,  addHalftone, addMask,      addMedian, addPage,
        addPaste, addQuantize, addRotate,    addScale, addSharpen,  addThumbnail, addTone,   addDemo,
    };
    return list;
}

} // namespace lxpage
