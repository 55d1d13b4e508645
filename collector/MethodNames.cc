#include "MethodNames.h"

#include "decoder/ModifiedUtf8.h"

namespace collector {

static std::string textOf(const Record& record, const Value& value) {
  std::string text = plainText(record.raw(value)).utf8;
  if (text.size() <= MethodNames::kMaxName) return text;
  std::size_t end = MethodNames::kMaxName;
  while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) --end;
  text.resize(end);
  return text;
}

// The fields of the list's elements are the values behind it.
template <class Visit>
static void forEachListed(const Record& record, Visit visit) {
  bool listed = false;
  for (const Value& value : record.values) {
    if (listed && value.field->name) visit(std::string_view(value.field->name), value);
    listed |= value.field->kind == FieldKind::list;
  }
}

void MethodNames::put(Names& names, const Key& key, std::string name) {
  if (methods_.size() + classes_.size() < kMaxNames || names.contains(key)) {
    names[key] = std::move(name);
  }
}

void MethodNames::learn(ConnectionId connection, const Record& record) {
  const std::string_view kind = record.layout.name;
  const bool load = kind == "CLASS_LOAD";
  if (!load && kind != "CLASS_UNLOAD") return;
  const Key classKey{connection, *record.number("sequenceID")};
  if (!load) classes_.erase(classKey);
  const std::string className = load ? textOf(record, *record.find("className")) : "";
  if (load) put(classes_, classKey, className);
  Key methodKey{connection, 0};
  std::string name;
  forEachListed(record, [&](std::string_view field, const Value& value) {
    if (field == "id") {
      methodKey.second = value.number;
      if (!load) methods_.erase(methodKey);
    } else if (field == "name") {
      name = className + '.' + textOf(record, value);
    } else {
      put(methods_, methodKey, name + textOf(record, value));
    }
  });
}

void MethodNames::onClosed(ConnectionId connection) {
  for (Names* names : {&methods_, &classes_}) {
    names->erase(names->lower_bound({connection, 0}), names->lower_bound({connection + 1, 0}));
  }
}

static const std::string* in(const auto& names, ConnectionId connection, std::uint64_t id) {
  const auto found = names.find({connection, id});
  return found == names.end() ? nullptr : &found->second;
}

const std::string* MethodNames::method(ConnectionId connection, std::uint64_t methodId) const {
  return in(methods_, connection, methodId);
}
const std::string* MethodNames::className(ConnectionId connection, std::uint64_t sequenceId) const {
  return in(classes_, connection, sequenceId);
}

}  // namespace collector
