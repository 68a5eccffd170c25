#pragma once

#include <windows.h>

#include <string>

namespace sim
{

/// Replaces one imported function of one module while it lives: calls of that module go to the replacement, those of
/// all others stay. Patches of one function are undone in the reverse order of their making.
///
/// Any thread may make and undo patches. A thread that is just calling through the import may still reach the function
/// from before; the replacement must hence outlive the patch, as a function does.
class ImportPatch
{
public:
    /// `module` is null for the program itself; `dll` such as "KERNEL32.dll" is compared without case. Throws
    /// std::runtime_error when the module does not import that function.
    ImportPatch(HMODULE module, const std::string& dll, const std::string& function, void* replacement);
    ~ImportPatch();

    template <typename Function>
    ImportPatch(HMODULE module, const std::string& dll, const std::string& function, Function* replacement)
        : ImportPatch(module, dll, function, reinterpret_cast<void*>(replacement))
    {
    }

    /// What the import led to before; the replacement calls it to pass a call on.
    template <typename Function> Function* Original() const { return reinterpret_cast<Function*>(original_); }

    /// Whether the module imports that function.
    static bool IsImported(HMODULE module, const std::string& dll, const std::string& function);

    ImportPatch(const ImportPatch&) = delete;
    ImportPatch& operator=(const ImportPatch&) = delete;

private:
    void** slot_;
    void* original_;
};

} // namespace sim
