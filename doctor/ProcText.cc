#include "ProcText.h"

#include <algorithm>
#include <cstdio>
#include <ranges>

#include "Text.h"

namespace doctor {

// The last of six fields, from its first slash on: a path may hold blanks.
static std::string_view pathIn(std::string_view line) {
  constexpr int kFieldsBefore = 5;
  const auto fields = fieldsOf(line);
  if (fields.size() <= kFieldsBefore || !fields[kFieldsBefore].starts_with('/')) return {};
  return line.substr(static_cast<std::size_t>(fields[kFieldsBefore].data() - line.data()));
}

std::vector<MappedFile> mappedFiles(std::string_view maps) {
  constexpr std::string_view kDeleted = " (deleted)";
  std::vector<MappedFile> files;
  for (std::string_view line : linesOf(maps)) {
    std::string_view path = pathIn(line);
    if (path.empty()) continue;
    const bool deleted = path.ends_with(kDeleted);
    if (deleted) path.remove_suffix(kDeleted.size());
    MappedFile file{std::string(path), deleted};
    if (std::ranges::find(files, file) == files.end()) files.push_back(std::move(file));
  }
  return files;
}

const MappedFile* findMapped(const std::vector<MappedFile>& files, std::string_view fileName) {
  const auto found = std::ranges::find_if(
      files, [&](const MappedFile& file) { return fileNameOf(file.path) == fileName; });
  return found == files.end() ? nullptr : &*found;
}

// The fields behind a name such as "Uid:".
static std::vector<std::string_view> statusFields(std::string_view status, std::string_view name) {
  for (std::string_view line : linesOf(status))
    if (line.starts_with(name)) return fieldsOf(line.substr(name.size()));
  return {};
}

std::optional<Owner> ownerIn(std::string_view status) {
  constexpr std::size_t kEffective = 1;
  const auto users = statusFields(status, "Uid:"), groups = statusFields(status, "Gid:");
  if (users.size() <= kEffective || groups.size() <= kEffective) return std::nullopt;
  const auto user = numberIn(users[kEffective]), group = numberIn(groups[kEffective]);
  if (!user || !group) return std::nullopt;
  Owner owner{static_cast<uid_t>(*user), static_cast<gid_t>(*group), {}};
  for (std::string_view more : statusFields(status, "Groups:"))
    if (const auto id = numberIn(more)) owner.groups.push_back(static_cast<gid_t>(*id));
  return owner;
}

int innermostId(std::string_view status, int pid) {
  const auto ids = statusFields(status, "NSpid:");
  return ids.empty() ? pid : static_cast<int>(numberIn(ids.back()).value_or(pid));
}

std::optional<long long> startSecond(std::string_view processStat, std::string_view systemStat,
                                     long ticksPerSecond) {
  constexpr std::size_t kStartTime = 19;  // behind the name, which may itself hold blanks and ')'
  const auto name = processStat.rfind(')');
  if (name == processStat.npos || ticksPerSecond <= 0) return std::nullopt;
  const auto fields = fieldsOf(processStat.substr(name + 1));
  const auto boot = statusFields(systemStat, "btime");
  if (fields.size() <= kStartTime || boot.empty()) return std::nullopt;
  const auto ticks = numberIn(fields[kStartTime]), booted = numberIn(boot.front());
  if (!ticks || !booted) return std::nullopt;
  return *booted + *ticks / ticksPerSecond;
}

std::string seenFrom(std::string_view root, std::string_view path) {
  const bool below = root.size() > 1 && path.starts_with(root) &&
                     (path.size() == root.size() || path[root.size()] == '/');
  if (!below) return std::string(path);
  return path.size() == root.size() ? "/" : std::string(path.substr(root.size()));
}

std::optional<long long> socketInode(std::string_view link) {
  constexpr std::string_view kPrefix = "socket:[";
  if (!link.starts_with(kPrefix) || !link.ends_with(']')) return std::nullopt;
  link.remove_prefix(kPrefix.size());
  link.remove_suffix(1);
  return numberIn(link);
}

bool isConnected(std::string_view tcpTable, const std::set<long long>& inodes,
                 std::uint32_t address, int port) {
  constexpr std::size_t kRemote = 2, kState = 3, kInode = 9;
  char remote[32];
  std::snprintf(remote, sizeof remote, "%08X:%04X", address, static_cast<unsigned>(port));
  return std::ranges::any_of(linesOf(tcpTable), [&](std::string_view line) {
    const auto fields = fieldsOf(line);
    return fields.size() > kInode && fields[kRemote] == remote && fields[kState] == "01" &&
           inodes.contains(numberIn(fields[kInode]).value_or(-1));
  });
}

}  // namespace doctor
