// The service's end of a bus, over in-process channels in the place of a pipe's instances.
#include "simulator/host/wire/PipeListener.h"

#include "simulator/host/wire/PipeEnd.h"

#include "native/src/Channel.h"

#include <stdexcept>

namespace sim
{

PipeListener::PipeListener(std::string_view bus) : path_(PipePath(bus)), listening_(MakeInstance())
{
    if (!listening_)
    {
        throw std::runtime_error("the bus has a service already");
    }
}

Handle PipeListener::MakeInstance() const
{
    return Handle(native::OpenListener(path_, connected_.get()));
}

Handle PipeListener::Accept()
{
    while (listening_ && WaitForSingleObject(closed_.get(), 0) != WAIT_OBJECT_0)
    {
        ResetEvent(connected_.get());
        if (Handle client{native::TakeClient(listening_.get())})
        {
            return client;
        }
        if (WaitForSingleObject(closed_.get(), 0) != WAIT_OBJECT_0)
        {
            WaitForSingleObject(connected_.get(), INFINITE);
        }
    }
    listening_.reset();
    return nullptr;
}

void PipeListener::Close()
{
    SetEvent(closed_.get());
    SetEvent(connected_.get());
}

} // namespace sim
