#pragma once

/// Keeps the module mapped until the process ends, however often the host frees it. Called before something begins
/// that nothing ends: the detached cooperation worker and the endpoint notifications. Calling it again does nothing.
void PinModule();

/// The same for the module that holds the code at `address`.
void PinModuleOf(const void* address);
