// The page's entry points: the library and the tool's own pieces (input
// reader, text dump, JSON, comparison, output forms) behind two C functions.
// Each returns a JSON document, valid until the next call. The library's
// lines come back in the documents; the configuration store's error line
// goes to standard error, which the page shows beside the configuration.
#include <emscripten/emscripten.h>

#include <string>
#include <vector>

#include "compare_command.h"
#include "compose_settings.h"
#include "config_store.h"
#include "cta_view.h"
#include "decoded_edid.h"
#include "edid_input.h"
#include "edid_json.h"
#include "edid_output.h"

namespace {

using edc_tool::Json;

std::string g_result;

const char *Result(const Json &document) {
  // The library's lines may hold any byte of a broken EDID: replace what is
  // not UTF-8 rather than fail.
  g_result = document.dump(-1, ' ', false, Json::error_handler_t::replace);
  return g_result.c_str();
}

// The decoded record's texts: diagnostics, summary, every field, JSON; as
// dump does, every field and the JSON include the modern reader's fields
// when the EDID holds modern blocks, decoded or not.
Json Describe(edc_tool::DecodedEdid &edid, bool decoded, const std::string &diagnostics,
              const std::vector<uint8_t> &bytes, const std::string &title) {
  const edc_tool::CtaRecord cta = edc_tool::ReadCta(bytes);
  std::string full = edc_tool::DumpText(edid, decoded, diagnostics, bytes, false, title);
  if (cta.modern()) full += edc_tool::CtaText(cta.info);
  const Json record = edc_tool::DumpJson(decoded ? &edid.record() : nullptr, cta);
  const std::string json = record.is_null() ? "" : edc_tool::JsonText(record);
  return {{"bytes", bytes},
          {"decoded", decoded},
          {"lines", diagnostics},
          {"summary", edc_tool::DumpText(edid, decoded, diagnostics, bytes, true, title)},
          {"full", full},
          {"json", json}};
}

}  // namespace

extern "C" {

// Reads a file's contents as "dump" does (binary, hex text, C array, an
// edid-decode report) and decodes it. {"error": why} when it is not an EDID.
EMSCRIPTEN_KEEPALIVE const char *edc_web_read(const uint8_t *contents, uint32_t size,
                                              const char *title) {
  const edc_tool::EdidInput input =
      edc_tool::ParseEdid(std::vector<uint8_t>(contents, contents + size));
  if (!input.error.empty()) return Result({{"error", input.error}});
  edc_tool::DecodedEdid edid;
  std::string diagnostics;
  const bool decoded = edid.Decode(input.bytes, diagnostics);
  return Result(Describe(edid, decoded, diagnostics, input.bytes, title));
}

// Composes as "compose" does from a configuration text, the settings as the
// command's options spell them, and the television's bytes (none: from the
// configuration alone); the modern profile as the configuration's modern.*
// keys say (the page has no options of its own for it). {"option", "problem"} for an unusable setting,
// {"config_error": true} for a configuration the store refuses, otherwise
// {"ok", "lines", ...} and, when composed, the new EDID's forms, its
// description and the comparison rows.
EMSCRIPTEN_KEEPALIVE const char *edc_web_compose(const char *config, const char *mode,
                                                 const char *port, const char *setting_3d,
                                                 const char *latency, const char *audio_mask,
                                                 int sink_filter, const uint8_t *sink,
                                                 uint32_t sink_size, const char *sink_name,
                                                 const char *config_name) {
  edc_tool::ComposeSettingsText text;
  text.mode = mode;
  text.port = port;
  text.setting_3d = setting_3d;
  text.latency = latency;
  text.audio_mask = audio_mask;
  text.sink_filter = sink_filter != 0;
  std::string option, problem;
  const auto settings = edc_tool::ParseComposeSettings(text, option, problem);
  if (!settings) return Result({{"option", option}, {"problem", problem}});
  if (config_store_load_string(config) != 0) return Result({{"config_error", true}});

  const std::vector<uint8_t> sink_bytes(sink, sink + sink_size);
  std::vector<uint8_t> composed;
  uint8_t spa_offset = 0;
  std::string lines;
  const bool ok =
      edc_tool::ComposeEdid(sink_bytes, settings->cfg, nullptr, false, composed, spa_offset, lines);
  config_store_clear();  // nothing of the user's stays behind
  Json document = {{"ok", ok}, {"lines", lines}};
  if (!ok) return Result(document);

  const std::string source = sink_bytes.empty() ? std::string("no television EDID")
                                                : "television " + std::string(sink_name);
  document["spa_offset"] = spa_offset;
  document["hex"] = edc_tool::HexText(composed);
  document["carray"] =
      edc_tool::CArrayText(composed, "EDID composed by edid-composer from " + source +
                                         " and configuration " + config_name);
  edc_tool::DecodedEdid result;
  std::string diagnostics;
  const bool decoded = result.Decode(composed, diagnostics);
  document["result"] = Describe(result, decoded, diagnostics, composed, "Composed EDID");
  if (!sink_bytes.empty()) {
    edc_tool::DecodedEdid television;
    if (television.Decode(sink_bytes, diagnostics) && decoded)
      document["rows"] =
          edc_tool::RowsJson(edc_tool::CompareRows(television.record(), result.record()));
  }
  return Result(document);
}

}  // extern "C"
