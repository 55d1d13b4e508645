// The calls of the message library.
#include <array>
#include <mutex>
#include <string>

#include "jvm/klg.h"
#include "msg/Catalog.h"
#include "text/Complaint.h"
#include "text/Guarded.h"

// The catalogues asked for so far, also those that were not found. They stay open, because texts
// out of them are in use with no end.
class Catalogs {
 public:
  const char* text(const std::string& name, int set, int number, const char* defaultText) {
    const auto catalog = opened(name);
    if (catalog == reinterpret_cast<nl_catd>(-1)) return defaultText;
    return ::catgets(catalog, set, number, defaultText);
  }

 private:
  struct Entry {
    std::string name;
    nl_catd catalog;
  };

  nl_catd opened(const std::string& name) {
    const std::lock_guard guard(lock_);
    for (std::size_t i = 0; i < count_; ++i)
      if (entries_[i].name == name) return entries_[i].catalog;
    if (count_ == entries_.size()) return reinterpret_cast<nl_catd>(-1);
    const auto catalog = openCatalog(name);
    entries_[count_++] = {name, catalog};
    if (catalog == reinterpret_cast<nl_catd>(-1))
      complain({"no message catalogue ", name, " along NLSPATH; the built-in texts are used"});
    return catalog;
  }

  std::mutex lock_;
  std::array<Entry, 8> entries_;  // one is usual
  std::size_t count_ = 0;
};

static Catalogs& catalogs() {
  static Catalogs* const all = new Catalogs;  // never destroyed: its texts are in use
  return *all;
}

const char* KlgMessageText(const char* catalog, int set, int number,
                           const char* defaultText) noexcept {
  if (!catalog || !*catalog || number == 0) return defaultText;
  return guarded(defaultText, [&] { return catalogs().text(catalog, set, number, defaultText); });
}

int kis_set_dir(const char* directory) noexcept { return directory && *directory ? 0 : -1; }
