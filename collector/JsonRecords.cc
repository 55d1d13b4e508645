#include "JsonRecords.h"

#include <ctime>
#include <nlohmann/json.hpp>

#include "decoder/ModifiedUtf8.h"

namespace collector {

using Json = nlohmann::ordered_json;

std::string isoTime(std::uint64_t seconds, std::uint64_t micros) {
  const std::time_t whole = static_cast<std::time_t>(seconds + micros / 1'000'000);
  std::tm parts{};
  gmtime_r(&whole, &parts);
  char date[32];
  std::strftime(date, sizeof date, "%Y-%m-%dT%H:%M:%S", &parts);
  char text[48];
  std::snprintf(text, sizeof text, "%s.%06uZ", date, static_cast<unsigned>(micros % 1'000'000));
  return text;
}

static std::string hexOf(Bytes bytes) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::string hex;
  for (std::uint8_t byte : bytes) {
    hex += kDigits[byte >> 4];
    hex += kDigits[byte & 15];
  }
  return hex;
}

static Json jsonValue(const Record& record, const Value& value, std::size_t& replaced) {
  switch (value.field->kind) {
    case FieldKind::i4:
    case FieldKind::i8:
      return static_cast<std::int64_t>(value.number);
    case FieldKind::bytes:
      return hexOf(record.raw(value));
    case FieldKind::list:
      return Json::array();
    case FieldKind::text: {
      PlainText text = plainText(record.raw(value));
      replaced += text.replaced;
      return std::move(text.utf8);
    }
    default:
      return value.number;
  }
}

// The elements of a list fill the rest of the record, each with the same fields.
static Json elementsOf(const Record& record, std::span<const Value> values, std::size_t& replaced) {
  Json elements = Json::array();
  if (values.empty()) return elements;
  const Field* first = values[0].field;
  for (const Value& value : values) {
    if (value.field == first) elements.push_back(Json::object());
    elements.back()[value.field->name] = jsonValue(record, value, replaced);
  }
  return elements;
}

static Json head(ConnectionId connection, const char* name) {
  return {{"record", name}, {"conn", connection}};
}

static void addNames(Json& json, ConnectionId connection, const Record& record,
                     const MethodNames& names) {
  const auto add = [&](const char* field, const char* shown, auto lookUp) {
    const auto id = record.number(field);
    const std::string* name = id ? (names.*lookUp)(connection, *id) : nullptr;
    if (name) json[shown] = *name;
  };
  add("method_id", "method", &MethodNames::method);
  add("owning_method_id", "owningMethod", &MethodNames::method);
  if (!record.find("className")) add("sequenceID", "className", &MethodNames::className);
}

JsonLine jsonOf(ConnectionId connection, const Record& record, const MethodNames* names) {
  JsonLine result;
  Json json = head(connection, record.layout.name);
  json["id"] = record.layout.id;
  json["packet"] = record.packet;
  json["offset"] = record.offset;
  if (const auto seconds = record.number("timeSec")) {
    json["time"] = isoTime(*seconds, record.number("timeUSec").value_or(0));
  }
  for (std::size_t i = 0; i < record.values.size(); ++i) {
    const Value& value = record.values[i];
    if (!value.field->name) continue;
    if (value.field->kind == FieldKind::list) {
      json[value.field->name] = elementsOf(record, record.values.subspan(i + 1), result.replaced);
      break;
    }
    json[value.field->name] = jsonValue(record, value, result.replaced);
  }
  if (names) addNames(json, connection, record, *names);
  result.line = json.dump();
  return result;
}

std::string jsonOf(ConnectionId connection, const Malformed& malformed) {
  Json json = head(connection, "MALFORMED");
  json["offset"] = malformed.offset;
  json["recordOffset"] = malformed.recordOffset;
  json["reason"] = textOf(malformed.reason);
  return json.dump();
}

std::string jsonOf(ConnectionId connection, const Skipped& skipped) {
  Json json = head(connection, "RESYNCHRONISED");
  json["offset"] = skipped.offset;
  json["skipped"] = skipped.bytes;
  return json.dump();
}

void JsonRecords::onRecord(ConnectionId connection, const Record& record) {
  JsonLine json = jsonOf(connection, record, &names_);
  names_.learn(connection, record);
  replaced_ += json.replaced;
  output_.write(json.line += '\n');
}

void JsonRecords::onMalformed(ConnectionId connection, const Malformed& malformed) {
  output_.write(jsonOf(connection, malformed) + '\n');
}

void JsonRecords::onSkipped(ConnectionId connection, const Skipped& skipped) {
  output_.write(jsonOf(connection, skipped) + '\n');
}

}  // namespace collector
