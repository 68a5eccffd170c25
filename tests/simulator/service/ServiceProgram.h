#pragma once

#include "simulator/host/wire/Handle.h"

#include <condition_variable>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

/// A running service program, driven through its input and output. For one thread; a thread of its own reads the
/// output. The program is ended with the object.
class ServiceProgram
{
public:
    /// Starts it with these arguments.
    explicit ServiceProgram(const std::string& arguments);
    ~ServiceProgram();

    void WriteLine(std::string_view line);
    void CloseInput();

    /// Waits until it has written `line` `count` times. Returns false when that takes too long.
    bool WaitForLine(const std::string& line, std::size_t count = 1);
    std::vector<std::string> Lines() const;

    /// Waits for its end, and for the end of its output. Gives its exit code, or -1 when that takes too long.
    int WaitForEnd();

    ServiceProgram(const ServiceProgram&) = delete;
    ServiceProgram& operator=(const ServiceProgram&) = delete;

private:
    void ReadOutput();
    void Add(std::string_view bytes);

    sim::Handle process_;
    sim::Handle input_;
    sim::Handle output_; // of the reading thread

    mutable std::mutex mutex_; // guards the fields below
    std::condition_variable added_;
    std::vector<std::string> lines_;
    std::string begun_; // a line that is not whole yet

    std::thread reader_; // last, because it uses the others
};
