#include "commands/list.h"

namespace lxpage
{

void addHalftone(CLI::App& app);
void addRotate(CLI::App& app);
void addAngle(CLI::App& app);
void addMedian(CLI::App& app);
void addScale(CLI::App& app);
void addThumbnail(CLI::App& app);
void addDemo(CLI::App& app);

std::span<const AddCommand> commands()
{
    static constexpr AddCommand list[] = {
        addHalftone, addRotate, addAngle, addMedian, addScale, addThumbnail, addDemo,
    };
    return list;
}

} // namespace lxpage
