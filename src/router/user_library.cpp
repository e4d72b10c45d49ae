// Loading and binding of the user correlation library.
#include "router/user_library.h"

#include <string>

#include "common/guard.h"
#include "router/shared_object_check.h"

#if defined(_WIN32)
#include <windows.h>
#else
#include <dlfcn.h>
#include <sys/stat.h>
#endif

namespace tarn::router {
namespace {

struct Binding {
  void* handle = nullptr;
  UserLibrary functions;
};

Binding binding;

#if defined(_WIN32)
void* openLibrary(const char* path) { return reinterpret_cast<void*>(LoadLibraryA(path)); }
void* findSymbol(void* handle, const char* name) {
  return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(handle), name));
}
void closeLibrary(void* handle) { FreeLibrary(static_cast<HMODULE>(handle)); }
#else
void* openLibrary(const char* path) {
  // A name without a slash would be looked for along the library search
  // path; the host named a file, so it is taken relative to the working
  // directory like any other path.
  const std::string file =
      std::string(path).find('/') == std::string::npos ? std::string("./") + path : std::string(path);
  return dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
}
void* findSymbol(void* handle, const char* name) { return dlsym(handle, name); }
void closeLibrary(void* handle) { dlclose(handle); }
#endif

template <class Function>
bool bindFunction(void* handle, const char* name, Function& slot) {
  void* symbol = findSymbol(handle, name);
  if (symbol == nullptr) return false;
  slot = reinterpret_cast<Function>(symbol);
  return true;
}

}  // namespace

bool namesExistingFile(const char* path) {
#if defined(_WIN32)
  const DWORD attributes = GetFileAttributesA(path);
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
#else
  struct stat status;
  return stat(path, &status) == 0 && !S_ISDIR(status.st_mode);
#endif
}

bool loadUserLibrary(const char* path) {
  if (!isCompleteSharedObject(path)) return false;
  void* handle = guarded<void*>(nullptr, [&] { return openLibrary(path); });
  if (handle == nullptr) return false;
  UserLibrary functions;
  const bool started =
#define TARN_UBML_BIND(name) bindFunction(handle, "ubml_" #name, functions.name)&&
      TARN_UBML_FUNCTIONS(TARN_UBML_BIND) functions.InitializeAllocate() == 0;
#undef TARN_UBML_BIND
  if (!started) {
    closeLibrary(handle);  // a module bound before keeps its own reference
    return false;
  }
  const Binding previous = binding;
  binding = {handle, functions};
  if (previous.handle != nullptr) {
    // The same file loaded again is the same module, just started afresh.
    if (previous.handle != handle) previous.functions.Free();
    closeLibrary(previous.handle);
  }
  return true;
}

const UserLibrary* boundUserLibrary() { return binding.handle != nullptr ? &binding.functions : nullptr; }

bool userLibraryLoaded() { return binding.handle != nullptr; }

}  // namespace tarn::router
