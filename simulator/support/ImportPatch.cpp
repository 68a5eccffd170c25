#include "simulator/support/ImportPatch.h"

#include "simulator/support/ImportSlot.h"

#include <stdexcept>

namespace sim
{

ImportPatch::ImportPatch(HMODULE module, const std::string& dll, const std::string& function, void* replacement)
    : slot_(FindImportSlot(module, dll, function))
{
    if (slot_ == nullptr)
    {
        throw std::runtime_error("not imported: " + function + " of " + dll);
    }
    original_ = ExchangeImport(slot_, replacement);
}

ImportPatch::~ImportPatch()
{
    ExchangeImport(slot_, original_);
}

bool ImportPatch::IsImported(HMODULE module, const std::string& dll, const std::string& function)
{
    return FindImportSlot(module, dll, function) != nullptr;
}

} // namespace sim
