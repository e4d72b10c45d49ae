// Header and range check of an ELF shared object, read with plain file I/O
// (nothing is mapped, so a short file cannot fault).
#include "router/shared_object_check.h"

#if defined(__ELF__)
#include <fcntl.h>
#include <link.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>
#endif

namespace tarn::router {

#if defined(__ELF__)
namespace {

using Header = ElfW(Ehdr);
using ProgramHeader = ElfW(Phdr);
using SectionHeader = ElfW(Shdr);

constexpr unsigned char kNativeClass = sizeof(void*) == 8 ? ELFCLASS64 : ELFCLASS32;
#if __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
constexpr unsigned char kNativeByteOrder = ELFDATA2LSB;
#else
constexpr unsigned char kNativeByteOrder = ELFDATA2MSB;
#endif

class File {
 public:
  explicit File(const char* path) : descriptor_(open(path, O_RDONLY | O_CLOEXEC)) {}
  ~File() {
    if (descriptor_ >= 0) close(descriptor_);
  }
  File(const File&) = delete;
  File& operator=(const File&) = delete;

  bool size(std::uint64_t& bytes) const {
    struct stat status;
    if (descriptor_ < 0 || fstat(descriptor_, &status) != 0 || status.st_size < 0) return false;
    bytes = static_cast<std::uint64_t>(status.st_size);
    return true;
  }
  template <class Record>
  bool read(std::uint64_t offset, Record& record) const {
    return pread(descriptor_, &record, sizeof record, static_cast<off_t>(offset)) ==
           static_cast<ssize_t>(sizeof record);
  }

 private:
  int descriptor_;
};

// [offset, offset + length) lies inside a file of fileSize bytes; the sum
// cannot wrap because both terms are checked against the size first.
bool inside(std::uint64_t offset, std::uint64_t length, std::uint64_t fileSize) {
  return offset <= fileSize && length <= fileSize - offset;
}

// A table of count records of entrySize bytes each at offset.
bool tableInside(std::uint64_t offset, std::uint64_t count, std::uint64_t entrySize, std::uint64_t fileSize) {
  return inside(offset, count * entrySize, fileSize);  // count < 2^16, entrySize < 2^16
}

}  // namespace

bool isCompleteSharedObject(const char* path) {
  const File file(path);
  std::uint64_t fileSize = 0;
  Header header;
  if (!file.size(fileSize) || !file.read(0, header)) return false;
  if (std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0 || header.e_ident[EI_CLASS] != kNativeClass ||
      header.e_ident[EI_DATA] != kNativeByteOrder || header.e_ident[EI_VERSION] != EV_CURRENT ||
      header.e_type != ET_DYN) {
    return false;
  }
  // Program headers: the loader maps every segment's file contents. A count
  // of PN_XNUM (kept in section 0) never occurs in a real plug-in.
  if (header.e_phnum == 0 || header.e_phnum == PN_XNUM || header.e_phentsize != sizeof(ProgramHeader) ||
      !tableInside(header.e_phoff, header.e_phnum, sizeof(ProgramHeader), fileSize)) {
    return false;
  }
  for (std::uint64_t i = 0; i < header.e_phnum; ++i) {
    ProgramHeader segment;
    if (!file.read(header.e_phoff + i * sizeof segment, segment) ||
        !inside(segment.p_offset, segment.p_filesz, fileSize)) {
      return false;
    }
  }
  // Section headers, when present: the table and every section with file
  // contents. A count of 0 with a table present means more than 65,279
  // sections, which no plug-in has.
  if (header.e_shoff == 0) return true;
  if (header.e_shnum == 0 || header.e_shentsize != sizeof(SectionHeader) ||
      !tableInside(header.e_shoff, header.e_shnum, sizeof(SectionHeader), fileSize)) {
    return false;
  }
  for (std::uint64_t i = 0; i < header.e_shnum; ++i) {
    SectionHeader section;
    if (!file.read(header.e_shoff + i * sizeof section, section)) return false;
    if (section.sh_type != SHT_NOBITS && !inside(section.sh_offset, section.sh_size, fileSize)) return false;
  }
  return true;
}

#else

bool isCompleteSharedObject(const char*) { return true; }

#endif

}  // namespace tarn::router
