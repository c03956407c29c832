// The list of everything that is measured: operations of the library, and the peers that do the same job.
//
// A family file adds operations; a file in peers/ adds other libraries' contenders to them by name. Nothing is
// prepared before its turn comes: a contender is a function that makes its images and returns the call to be timed.
#ifndef LX_BENCH_OPERATION_H
#define LX_BENCH_OPERATION_H

#include "page.h"

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace bench
{

using Run = std::function<bool()>;    // one timed call; false if it failed
using Prepare = std::function<Run()>; // untimed: makes pictures and converts them into the contender's own format

// A goal is a time beside the floor measured with it, because only their ratio travels from machine to machine.
struct Goal {
    double time = 0; // 0: no goal is set
    double floor = 1;

    double ratio() const { return time / floor; }
};

// Whether a peer does all of our job. A rougher one, marked ~ in the table, writes bytes where we write bits, say, or
// takes nearest values where we take exact ones.
enum class Job { Same, Rougher };

struct Peer {
    std::string name;
    Job job;
    Prepare prepare;
};

struct Operation {
    std::string name;
    std::size_t sourceBytes;      // bytes that the operation has to read
    std::size_t destinationBytes; // bytes that it has to write; both 0: the operation has no floor
    Goal goal;
    Prepare prepare;
    double pixels = pagePixels; // what its time is divided by
    std::vector<Peer> peers = {};
};

// Work from one area to another. A picture has to be able to take it any number of times.
using AreaWork = std::function<int8_t(const ImageArea* source, const ImageArea* destination)>;

// Work on one area in place. It too has to be able to do so any number of times.
using InPlaceWork = std::function<int8_t(const ImageArea* area)>;

class Operations
{
  public:
    void add(Operation operation);

    // The usual case: from the page, in the source's format and x, to a picture of any shape.
    void add(std::string name, const Shape& source, const Shape& destination, Goal goal, AreaWork work);

    // Work in place, on a copy of the page that keeps what the work makes of it.
    void addInPlace(std::string name, const Shape& shape, Goal goal, InPlaceWork work);

    // Adds a contender to an operation; ends the program if there is none of that name, for it is misspelt.
    void addPeer(const std::string& operation, std::string name, Prepare prepare, Job job = Job::Same);

    const std::vector<Operation>& all() const { return operations_; }

  private:
    std::vector<Operation> operations_;
};

} // namespace bench

#endif
