#include "diag/ErrReport.hpp"

#include <nlohmann/json.hpp>

#include "common/Exception.hpp"
#include "common/Utf.hpp"

namespace xylem {

namespace {

constexpr const char* kToolName = "xylem";
constexpr const char* kSARIFSchema = "https://json.schemastore.org/sarif-2.1.0.json";

// An error as every format sees it: UTF-8 text, the file resolved, unknown numbers as 0.
struct TyErrReportRow {
  std::string File;
  int32_t Line = 0;
  int32_t Column = 0;
  TyXMLErrSeverity Severity = TyXMLErrSeverity::errError;
  std::string Message;
  std::string Code;
};

const char* LevelName(TyXMLErrSeverity Severity, bool GitHub) {
  switch (XMLErrLevelOf(Severity)) {
    case TyXMLErrLevel::elError:
      return "error";
    case TyXMLErrLevel::elWarning:
      return "warning";
    case TyXMLErrLevel::elNote:
      break;
  }
  return GitHub ? "notice" : "note";
}

std::vector<TyErrReportRow> CollectRows(const std::vector<TyErrReportSource>& Sources) {
  std::vector<TyErrReportRow> rows;
  for (const TyErrReportSource& source : Sources) {
    if (!source.Errs) continue;
    const IyXMLErrsPtr sorted = SortXMLErrsByLocation(*source.Errs);
    for (int32_t i = 0; i < sorted->getCount(); ++i) {
      const IyXMLErr& error = *sorted->getXMLErr(i);
      const IyXMLLocation& location = *error.getLocation();
      TyErrReportRow row;
      row.File = location.getURL().empty() ? source.Document : ToUTF8(location.getURL());
      if (location.getLine() > 0) {
        row.Line = location.getLine();
        row.Column = location.getLinepos() > 0 ? location.getLinepos() : 0;
      }
      row.Severity = error.getSeverity();
      row.Message = ToUTF8(error.getReason());
      row.Code = ToUTF8(error.getReasonID());
      rows.push_back(std::move(row));
    }
  }
  return rows;
}

// gcc-style output is one line per error: each line break inside a message becomes a space.
std::string OneLine(const std::string& Message) {
  std::string line;
  line.reserve(Message.size());
  for (size_t i = 0; i < Message.size(); ++i) {
    const char c = Message[i];
    if (c == '\r' || c == '\n') {
      if (c == '\r' && i + 1 < Message.size() && Message[i + 1] == '\n') ++i;
      line += ' ';
    } else {
      line += c;
    }
  }
  return line;
}

std::string WithCode(std::string Message, const std::string& Code) {
  if (!Code.empty()) Message += " [" + Code + "]";
  return Message;
}

std::string WriteGcc(const std::vector<TyErrReportRow>& Rows) {
  std::string out;
  for (const TyErrReportRow& row : Rows) {
    out += row.File.empty() ? kToolName : row.File;
    if (row.Line > 0) out += ':' + std::to_string(row.Line);
    if (row.Column > 0) out += ':' + std::to_string(row.Column);
    out += ": ";
    out += LevelName(row.Severity, false);
    out += ": " + WithCode(OneLine(row.Message), row.Code) + '\n';
  }
  return out;
}

// Invalid UTF-8 can only come from a document name; it is replaced rather than thrown over.
std::string Dump(const nlohmann::ordered_json& Value) {
  return Value.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + '\n';
}

std::string WriteJSON(const std::vector<TyErrReportRow>& Rows) {
  nlohmann::ordered_json array = nlohmann::ordered_json::array();
  for (const TyErrReportRow& row : Rows) {
    nlohmann::ordered_json item;
    item["file"] = row.File;
    item["line"] = row.Line > 0 ? nlohmann::ordered_json(row.Line) : nullptr;
    item["column"] = row.Column > 0 ? nlohmann::ordered_json(row.Column) : nullptr;
    item["severity"] = XMLErrSeverityName(row.Severity);
    item["message"] = row.Message;
    item["code"] = row.Code.empty() ? nullptr : nlohmann::ordered_json(row.Code);
    array.push_back(std::move(item));
  }
  return Dump(array);
}

bool IsURIChar(unsigned char c) {
  if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9')) return true;
  for (const char* p = "-._~/!$&'()*+,;=@"; *p; ++p)
    if (c == static_cast<unsigned char>(*p)) return true;
  return false;
}

// A document that already is a URI ("file:...", "https://...") is kept; a path is made a
// relative or absolute URI reference by percent-encoding, ':' included so that no path segment
// can read as a scheme.
std::string ToURIReference(const std::string& File) {
  const size_t colon = File.find(':');
  const bool hasScheme = colon != std::string::npos && colon >= 2 &&
                         (File.compare(0, 5, "file:") == 0 || File.compare(colon, 3, "://") == 0);
  if (hasScheme) return File;
  static constexpr char kHex[] = "0123456789ABCDEF";
  std::string uri;
  for (const char ch : File) {
    const auto c = static_cast<unsigned char>(ch);
    if (IsURIChar(c)) {
      uri += ch;
    } else {
      uri += '%';
      uri += kHex[c >> 4];
      uri += kHex[c & 15];
    }
  }
  return uri;
}

std::string WriteSARIF(const std::vector<TyErrReportRow>& Rows) {
  nlohmann::ordered_json results = nlohmann::ordered_json::array();
  for (const TyErrReportRow& row : Rows) {
    nlohmann::ordered_json result;
    if (!row.Code.empty()) result["ruleId"] = row.Code;
    result["level"] = LevelName(row.Severity, false);
    result["message"]["text"] = row.Message;
    if (!row.File.empty()) {
      nlohmann::ordered_json physical;
      physical["artifactLocation"]["uri"] = ToURIReference(row.File);
      if (row.Line > 0) {
        physical["region"]["startLine"] = row.Line;
        if (row.Column > 0) physical["region"]["startColumn"] = row.Column;
      }
      result["locations"] = nlohmann::ordered_json::array({{{"physicalLocation", physical}}});
    }
    results.push_back(std::move(result));
  }
  nlohmann::ordered_json run;
  run["tool"]["driver"]["name"] = kToolName;
  // Positions count UTF-16 code units, which is SARIF's default; said explicitly for readers.
  run["columnKind"] = "utf16CodeUnits";
  run["results"] = std::move(results);
  nlohmann::ordered_json log;
  log["version"] = "2.1.0";
  log["$schema"] = kSARIFSchema;
  log["runs"] = nlohmann::ordered_json::array({std::move(run)});
  return Dump(log);
}

// Workflow-command escaping: the message escapes %, CR and LF; property values also ':' and ','.
std::string EscapeGitHub(const std::string& Text, bool Property) {
  std::string escaped;
  escaped.reserve(Text.size());
  for (const char c : Text) {
    switch (c) {
      case '%':
        escaped += "%25";
        break;
      case '\r':
        escaped += "%0D";
        break;
      case '\n':
        escaped += "%0A";
        break;
      case ':':
        escaped += Property ? "%3A" : ":";
        break;
      case ',':
        escaped += Property ? "%2C" : ",";
        break;
      default:
        escaped += c;
    }
  }
  return escaped;
}

std::string WriteGitHub(const std::vector<TyErrReportRow>& Rows) {
  std::string out;
  for (const TyErrReportRow& row : Rows) {
    std::string properties;
    const auto add = [&properties](const char* Name, const std::string& Value) {
      properties += properties.empty() ? " " : ",";
      properties += Name;
      properties += '=';
      properties += EscapeGitHub(Value, true);
    };
    if (!row.File.empty()) add("file", row.File);
    if (row.Line > 0) add("line", std::to_string(row.Line));
    if (row.Column > 0) add("col", std::to_string(row.Column));
    out += "::";
    out += LevelName(row.Severity, true);
    out += properties + "::" + EscapeGitHub(WithCode(row.Message, row.Code), false) + '\n';
  }
  return out;
}

}  // namespace

std::optional<TyErrReportFormat> ErrReportFormatFromName(std::string_view Name) {
  if (Name == "gcc") return TyErrReportFormat::erfGcc;
  if (Name == "json") return TyErrReportFormat::erfJSON;
  if (Name == "sarif") return TyErrReportFormat::erfSARIF;
  if (Name == "github") return TyErrReportFormat::erfGitHub;
  return std::nullopt;
}

std::string WriteErrReport(const std::vector<TyErrReportSource>& Sources,
                           TyErrReportFormat Format) {
  const std::vector<TyErrReportRow> rows = CollectRows(Sources);
  switch (Format) {
    case TyErrReportFormat::erfGcc:
      return WriteGcc(rows);
    case TyErrReportFormat::erfJSON:
      return WriteJSON(rows);
    case TyErrReportFormat::erfSARIF:
      return WriteSARIF(rows);
    case TyErrReportFormat::erfGitHub:
      return WriteGitHub(rows);
  }
  throw CyShouldNeverHappenException("report format " + std::to_string(static_cast<int>(Format)));
}

}  // namespace xylem
