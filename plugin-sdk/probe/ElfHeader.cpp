// What the first bytes of a library tell of the machine that it is for.
#include "ElfHeader.h"

#include <elf.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <fstream>

namespace qvs::probe {
namespace {

struct Machine {
  unsigned number;
  const char* name;
};

constexpr Machine kMachines[] = {{EM_386, "x86"},         {EM_X86_64, "x86-64"},    {EM_ARM, "ARM"},
                                 {EM_AARCH64, "AArch64"}, {EM_PPC64, "PowerPC 64"}, {EM_RISCV, "RISC-V"},
                                 {EM_S390, "S/390"}};

std::string machineName(unsigned number) {
  for (const Machine& machine : kMachines) {
    if (machine.number == number) return machine.name;
  }
  return "machine " + std::to_string(number);
}

/// The header of the program that asks, which is right by its nature.
bool readHeader(const std::string& path, Elf64_Ehdr& header) {
  std::ifstream file(path, std::ios::binary);
  file.read(reinterpret_cast<char*>(&header), sizeof header);
  return file.gcount() == sizeof header;
}

}  // namespace

std::string elfTrouble(const std::string& path) {
  struct stat status {};
  if (stat(path.c_str(), &status) != 0) return std::strerror(errno);
  if (!S_ISREG(status.st_mode)) return "is no file";
  Elf64_Ehdr header{}, own{};
  errno = 0;
  if (!readHeader(path, header)) return errno != 0 ? std::strerror(errno) : "is no library: it is too short";
  if (std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0) return "is no library: it has no ELF header";
  if (!readHeader("/proc/self/exe", own)) return "";
  if (header.e_ident[EI_DATA] != own.e_ident[EI_DATA]) return "is for a machine of another byte order";
  if (header.e_machine != own.e_machine) {
    return "is for another machine: " + machineName(header.e_machine) + ", this one is " +
           machineName(own.e_machine);
  }
  return header.e_type == ET_DYN ? "" : "is no shared library";
}

}  // namespace qvs::probe
