// The keys the library reads from a platform configuration, and the checks
// the store makes of a loaded document against them: unknown keys (with the
// nearest known one), values of the wrong type or out of range, quoted keys
// that alias another path, and mode strings read only loosely.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace edc_store {

enum class Kind { kTable, kArray, kInteger, kString, kOther };

// What a key holds.
// A word list's elements are words of its own (any case).
enum class Type { kInteger, kString, kIntegerList, kStringList, kModeList, kTimingList, kWordList };

struct KeyInfo {
  const char *name;  // below platform.software.drivers.avcap.edid.
  Type type;
  int64_t min, max;  // an integer's range, a string's length, a list element's range
  const char *meaning;
  const char *words = nullptr;  // a word list's words, separated by blanks
};

// "integer", "string", "array of integers" or "array of strings".
const char *TypeName(Type type);

// Every key, in the order the README's reference lists them.
const std::vector<KeyInfo> &Schema();

// The prefix of every key's path.
extern const char kSchemaRoot[];

// One node of a loaded document, in file order.
struct Entry {
  std::string path;  // full dotted path
  std::string key;   // its own name ("0", "1", ... in an array)
  Kind kind;
  int64_t integer;
  std::string text;
  uint32_t line, column;
  uint32_t children;
};

// "line:column: what" for each finding over a document's nodes; none for a
// document without a "platform" table.
std::vector<std::string> SchemaFindings(const std::vector<Entry> &entries);

}  // namespace edc_store
