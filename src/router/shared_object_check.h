// A look at a plug-in file before the dynamic loader maps it. The loader
// maps each segment of a shared object straight from the file; a segment
// that reaches past the end of a truncated file is only noticed when its
// pages are first touched, and that kills the host with SIGBUS. Reading the
// headers first turns such a file into a refusal.
#pragma once

namespace tarn::router {

// True when path holds a shared object of this process's kind (ELF class
// and byte order) whose program headers, every segment's file contents,
// section headers and every section's contents lie inside the file. On
// platforms whose objects are not ELF the answer is always true and the
// loader alone decides.
bool isCompleteSharedObject(const char* path);

}  // namespace tarn::router
