#include "operation.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <utility>

namespace bench
{

void Operations::add(Operation operation)
{
    operations_.push_back(std::move(operation));
}

void Operations::add(std::string name, const Shape& source, const Shape& destination, Goal goal, AreaWork work)
{
    const auto prepare = [source, destination, work]() -> Run {
        return [&from = page(source.type, source.x), to = Picture(destination), work] {
            return work(from.area(), to.area()) == IMAGE_STATUS_OK;
        };
    };
    add({std::move(name), bytesOf(source), bytesOf(destination), goal, prepare});
}

void Operations::addInPlace(std::string name, const Shape& shape, Goal goal, InPlaceWork work)
{
    const auto prepare = [shape, work]() -> Run {
        const Picture& from = page(shape.type, shape.x);
        const Picture copy(shape);
        std::copy_n(from.pixels(), from.bytesPerLine() * pageHeight, copy.pixels());
        return [copy, work] { return work(copy.area()) == IMAGE_STATUS_OK; };
    };
    add({std::move(name), bytesOf(shape), bytesOf(shape), goal, prepare});
}

void Operations::addPeer(const std::string& operation, std::string name, Prepare prepare, Job job)
{
    const auto found = std::find_if(operations_.begin(), operations_.end(),
                                    [&](const Operation& candidate) { return candidate.name == operation; });
    if (found == operations_.end()) {
        std::fprintf(stderr, "%s: no operation is named \"%s\"\n", name.c_str(), operation.c_str());
        std::exit(EXIT_FAILURE);
    }
    found->peers.push_back({std::move(name), job, std::move(prepare)});
}

} // namespace bench
