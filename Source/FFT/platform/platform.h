// The operating-system services that the library's load and host-binding
// logic uses, as one table of functions.  Each platform provides one table
// (platform_linux.cpp, platform_windows.cpp); tests install a fake.
#pragma once

#include <cstddef>
#include <cstdint>

namespace fennel {

struct PlatformApi {
    // Bounded read of a variable of the runtime's environment: copies the
    // value with its terminator into buffer when it fits (else buffer gets "")
    // and returns the size the value needs with its terminator; 0 if absent.
    size_t (*get_env)(const char *name, char *buffer, size_t size);
    void (*set_env)(const char *name, const char *value);
    // A loaded module by file name, or null.
    void *(*find_loaded_module)(const wchar_t *name);
    // The module's full file name; the number of characters, 0 on failure.
    size_t (*module_file_name)(void *module, wchar_t *buffer, size_t size);
    // Loads a module by full path, searching its own folder for its
    // dependencies; null on failure.
    void *(*load_module)(const wchar_t *path);
    void (*free_module)(void *module);
    // The machine-wide registry: open a key for reading, read a value (bytes
    // in: the buffer's size; out: the bytes stored), close.
    bool (*open_registry_key)(const char *path, void **key);
    bool (*query_registry_value)(void *key, const wchar_t *name, void *data, uint32_t *bytes);
    void (*close_registry_key)(void *key);
    // The value of a thread-local slot of this thread.
    void *(*tls_get)(uint32_t index);
    // The process's main executable (never null).
    void *(*main_module)();
    // An exported function or variable of a module, or null.
    void *(*find_symbol)(void *module, const char *name);
    // The fatal message (text, caption, style) and the end of the process.
    void (*message_box)(const char *text, const char *caption, uint32_t style);
    void (*exit_process)(int code);
};

// The table in use: the platform's own unless a test installed another.
const PlatformApi &Platform();
// Installs a table (null: the platform's own); for tests.
void SetPlatformForTesting(const PlatformApi *api);
// The platform's own table.
const PlatformApi &NativePlatform();

}  // namespace fennel
