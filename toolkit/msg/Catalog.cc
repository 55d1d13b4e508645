#include "msg/Catalog.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

static const nl_catd kNoCatalog = reinterpret_cast<nl_catd>(-1);

static std::string_view valueOf(char field, std::string_view name, std::string_view locale) {
  switch (field) {
    case 'N':
      return name;
    case 'L':
    case 'l':
      return locale;
    case '%':
      return "%";
    default:
      return {};
  }
}

std::string filledIn(std::string_view pathTemplate, std::string_view name,
                     std::string_view locale) {
  std::string path;
  for (auto percent = pathTemplate.find('%'); percent != pathTemplate.npos;
       percent = pathTemplate.find('%')) {
    path += pathTemplate.substr(0, percent);
    pathTemplate.remove_prefix(percent + 1);
    if (pathTemplate.empty()) return path;
    path += valueOf(pathTemplate[0], name, locale);
    pathTemplate.remove_prefix(1);
  }
  return path += pathTemplate;
}

// Only regular files: opening a FIFO would wait for its writer.
static nl_catd openFile(const std::string& path) {
  struct stat status;
  if (::stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return kNoCatalog;
  // A name with a slash is taken as it is, without a search.
  return ::catopen(path.find('/') == path.npos ? ("./" + path).c_str() : path.c_str(), 0);
}

static nl_catd openAlong(std::string_view templates, const std::string& name,
                         std::string_view locale) {
  while (!templates.empty()) {
    const auto end = std::min(templates.find(':'), templates.size());
    if (end > 0) {
      const auto catalog = openFile(filledIn(templates.substr(0, end), name, locale));
      if (catalog != kNoCatalog) return catalog;
    }
    templates.remove_prefix(std::min(end + 1, templates.size()));
  }
  return kNoCatalog;
}

nl_catd openCatalog(const std::string& name) {
  if (name.find('/') != name.npos) return openFile(name);
  const char* templates = std::getenv("NLSPATH");
  const char* language = std::getenv("LANG");
  if (!templates) return ::catopen(name.c_str(), 0);
  // A locale with a slash could lead anywhere.
  if (language && *language && !std::strchr(language, '/')) {
    const auto catalog = openAlong(templates, name, language);
    if (catalog != kNoCatalog) return catalog;
  }
  return openAlong(templates, name, "C");
}
