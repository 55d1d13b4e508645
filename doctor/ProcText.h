#pragma once

#include <sys/types.h>

#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

// What the files of /proc/<pid> say: text in, figures out.
namespace doctor {

struct MappedFile {
  std::string path;
  bool deleted = false;  // the file was removed or replaced after it had been mapped
  bool operator==(const MappedFile&) const = default;
};
std::vector<MappedFile> mappedFiles(std::string_view maps);  // each once, in order of addresses
const MappedFile* findMapped(const std::vector<MappedFile>& files, std::string_view fileName);

struct Owner {
  uid_t user = 0;  // the effective ones
  gid_t group = 0;
  std::vector<gid_t> groups;
  bool operator==(const Owner&) const = default;
};
std::optional<Owner> ownerIn(std::string_view status);

// The id that the process knows itself by, in its own container; the given one when not told.
int innermostId(std::string_view status, int pid);

// Seconds since 1970 at which the process began, of /proc/<pid>/stat and /proc/stat.
std::optional<long long> startSecond(std::string_view processStat, std::string_view systemStat,
                                     long ticksPerSecond);

// A path as a process names it whose root directory is `root`, which the kernel writes in front.
std::string seenFrom(std::string_view root, std::string_view path);

// "socket:[4711]" is 4711.
std::optional<long long> socketInode(std::string_view link);

// Whether one of these sockets is connected to this address. The address in the byte order of the
// network, as in_addr has it.
bool isConnected(std::string_view tcpTable, const std::set<long long>& inodes,
                 std::uint32_t address, int port);

}  // namespace doctor
