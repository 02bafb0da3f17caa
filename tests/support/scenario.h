// The data files of the tests (tests/data/ and the corpus manifest), all in
// one shape and read by one reader.
//
// A file is a run of scenarios: "== TITLE" starts one, and the lines before
// the first title make an untitled one (a table is just that). Blank lines
// are skipped, and so is everything from a '#' that starts a line or stands
// alone after a blank (so "index #0" is text), and blanks at the end of a line. Every other line is
// a list of fields: separated by tabs, or, in a line without tabs, the first word (the key) and the
// rest (its value).
//
// Three kinds of line build the scenario's bytes instead:
//   AT: XX XX ...   the bytes from offset AT on, all in hex; the bytes grow to hold them
//   from TITLE      a copy of the bytes of the last scenario so titled
//   sum AT          sets byte AT + 7F so that the 128 bytes from AT (hex) sum to 0
#pragma once

#include <string>
#include <vector>

#include "capture.h"

namespace edc_test {

struct Line {
  std::string text;                 // the line without its comment
  std::vector<std::string> fields;  // fields[0] is the key
  // The field at i, or "" past the last.
  const std::string &operator[](size_t i) const {
    static const std::string none;
    return i < fields.size() ? fields[i] : none;
  }
  size_t size() const { return fields.size(); }
};

struct Scenario {
  std::string title;
  std::vector<Line> lines;
  Bytes bytes;              // zero where no line gave a byte
  std::vector<bool> given;  // the bytes that lines gave

  bool Has(const std::string &key) const;
  // The value of the last line with key, or "".
  std::string Value(const std::string &key) const;
  // The values of the lines with key, as they are or as expected lines (capture.h).
  std::vector<std::string> Values(const std::string &key) const;
  std::vector<std::string> Expected(const std::string &key, const void *pointer = nullptr) const;
};

// The scenarios of tests/data/<name>.
std::vector<Scenario> ReadScenarios(const std::string &name);

// The scenarios of a file whose lines before the first title are defaults:
// each comes first in every scenario that has no line of its key.
std::vector<Scenario> ReadCases(const std::string &name);

// The rows of the table so titled in a file of tables, a field "-" read as "".
std::vector<Line> ReadTable(const std::string &name, const std::string &title);

// The lines of the scenario so titled, one a line: a document kept in a file.
std::string ReadText(const std::string &name, const std::string &title);

// The lines of a file without titles, such as a table.
std::vector<Line> ReadRows(const std::string &name);

}  // namespace edc_test
