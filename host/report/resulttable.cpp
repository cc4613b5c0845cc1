#include "host/report/resulttable.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>

#include "host/report/text.h"

namespace host {

namespace {

constexpr std::string_view kColumnNames = "Status    Tnew      Told      Trel      Diff      Name";
constexpr std::size_t kFieldWidth = 10;
constexpr std::size_t kLongestNumber = 330;                  // digits of the largest double, and some
constexpr std::size_t kLargestTable = std::size_t{1} << 28;  // 100000 rows of the longest paths

constexpr std::array<SceneStatus, 5> kStatuses = {SceneStatus::Pending, SceneStatus::Ok, SceneStatus::Error,
                                                  SceneStatus::Created, SceneStatus::Skipped};

/// A row that does not follow the grammar; turned into a ReportError where the line is known.
struct Malformed {
  std::string reason;
};

bool isDigit(char c) { return c >= '0' && c <= '9'; }

std::size_t countDigits(std::string_view text) {
  const auto end = std::find_if_not(text.begin(), text.end(), isDigit);
  return static_cast<std::size_t>(end - text.begin());
}

std::string padded(std::string_view field) {
  std::string text(field);
  if (text.size() < kFieldWidth) text.resize(kFieldWidth, ' ');
  return text;
}

/// Takes the fields of one row from the left. `field` in the reasons is the column's name.
class FieldReader {
 public:
  explicit FieldReader(std::string_view text) : rest_(text) {}

  bool takeField(std::string_view field) {
    const std::string text = padded(field);
    if (rest_.substr(0, text.size()) != text) return false;
    rest_.remove_prefix(text.size());
    return true;
  }

  /// Digits, a point and exactly two decimals, then `suffix`: the decimals end a number even when the next
  /// column follows without a blank.
  double takeNumber(const char* field, std::string_view suffix = {}) {
    const std::size_t sign = !rest_.empty() && (rest_[0] == '-' || rest_[0] == '+') ? 1 : 0;
    const std::size_t whole = countDigits(rest_.substr(sign, kLongestNumber));
    const std::size_t point = sign + whole;
    if (whole == 0 || rest_.substr(point, 1) != "." || countDigits(rest_.substr(point + 1, 2)) != 2) {
      throw Malformed{std::string("no number with two decimals in column ") + field};
    }
    const std::size_t length = point + 3;
    if (rest_.substr(length, suffix.size()) != suffix) {
      throw Malformed{std::string("no \"") + std::string(suffix) + "\" after the number in column " + field};
    }
    const char* first = rest_.data() + (rest_[0] == '+' ? 1 : 0);
    double value = 0;
    std::from_chars(first, rest_.data() + length, value);
    if (!takeField(rest_.substr(0, length + suffix.size()))) {
      throw Malformed{std::string("column ") + field + " is not padded to ten characters"};
    }
    return value;
  }

  std::string_view rest() const { return rest_; }

 private:
  std::string_view rest_;
};

std::optional<SceneStatus> takeStatus(FieldReader& reader) {
  for (const SceneStatus status : kStatuses) {
    if (reader.takeField(statusWord(status))) return status;
  }
  return std::nullopt;
}

double takeTimeNew(FieldReader& reader) {
  if (reader.rest().substr(0, 1) == " ") {
    throw Malformed{"no render time in column Tnew (a crash scan's table has none and cannot be judged)"};
  }
  return reader.takeNumber("Tnew");
}

void takeComparison(FieldReader& reader, ResultRow& row) {
  row.timeReference = reader.takeNumber("Told");
  if (!reader.takeField("")) row.timeChange = reader.takeNumber("Trel", "%") / 100;
  if (!reader.takeField("None")) row.difference = reader.takeNumber("Diff", "%") / 100;
}

/// A row without its path, whose first line ends where the path does or goes on in further lines.
ResultRow parseRow(std::string_view text, int number) {
  FieldReader reader(text);
  ResultRow row;
  row.number = number;
  if (!reader.takeField(std::to_string(number))) {
    throw Malformed{"row " + std::to_string(number) + " was expected"};
  }
  const std::optional<SceneStatus> status = takeStatus(reader);
  if (!status) throw Malformed{"no status word after the number"};
  row.status = *status;
  row.timeNew = takeTimeNew(reader);
  if (row.status == SceneStatus::Ok) {
    takeComparison(reader, row);
  } else if (!(reader.takeField("") && reader.takeField("") && reader.takeField(""))) {
    throw Malformed{"columns Told, Trel and Diff are not blank"};
  }
  row.path = reader.rest();
  if (row.path.empty()) throw Malformed{"no path"};
  return row;
}

/// Whether a line can only be a row: the expected number in its column, or any number and a status word.
/// Everything else belongs to the path of the row before.
bool startsRow(std::string_view line, int expected) {
  FieldReader reader(line);
  if (reader.takeField(std::to_string(expected))) return true;
  const std::size_t digits = countDigits(line.substr(0, kFieldWidth));
  return digits > 0 && reader.takeField(line.substr(0, digits)) && takeStatus(reader).has_value();
}

/// Goes through the table line by line and puts the lines of each row together.
class TableParser {
 public:
  explicit TableParser(std::string_view text) : text_(text) {}

  ResultTable parse() {
    takeHeader();
    while (takeRow()) {
    }
    return std::move(table_);
  }

 private:
  [[noreturn]] static void fail(int line, const std::string& reason) {
    throw ReportError("line " + std::to_string(line) + ": " + reason);
  }

  void takeHeader() {
    const std::size_t end = text_.find('\n');
    if (end == std::string_view::npos) fail(1, "no header line");
    std::string_view header = text_.substr(0, end);
    // The header tells the line end of the whole table: a path may end with a carriage return of its own.
    if (header.ends_with('\r')) lineEnd_ = "\r\n";
    header.remove_suffix(lineEnd_.size() - 1);
    const std::size_t version = std::min(header.find(' '), kFieldWidth);
    table_.version = header.substr(0, version);
    if (version == 0 || header != padded(table_.version) + std::string(kColumnNames)) {
      fail(1, "not the header of a result table");
    }
    position_ = end + 1;
  }

  /// The offset behind the line end that closes the line at `from`; nothing when the text stops before.
  std::optional<std::size_t> lineAfter(std::size_t from) const {
    const std::size_t end = text_.find(lineEnd_, from);
    if (end == std::string_view::npos) return std::nullopt;
    return end + lineEnd_.size();
  }

  bool takeRow() {
    if (position_ == text_.size()) return false;
    const int number = static_cast<int>(table_.rows.size()) + 1;
    const int line = line_;
    std::size_t end = position_;
    do {
      const std::optional<std::size_t> next = lineAfter(end);
      if (!next) {
        table_.cutOff = true;
        break;
      }
      end = *next;
      ++line_;
    } while (end < text_.size() && !startsRow(text_.substr(end), number + 1));
    if (end == position_) return false;
    try {
      table_.rows.push_back(parseRow(text_.substr(position_, end - lineEnd_.size() - position_), number));
    } catch (const Malformed& malformed) {
      fail(line, malformed.reason);
    }
    position_ = end;
    return !table_.cutOff;
  }

  std::string_view text_;
  std::string_view lineEnd_ = "\n";
  std::size_t position_ = 0;
  int line_ = 2;  // of position_
  ResultTable table_;
};

}  // namespace

const char* statusWord(SceneStatus status) {
  switch (status) {
    case SceneStatus::Pending:
      return "PENDING";
    case SceneStatus::Ok:
      return "OK";
    case SceneStatus::Error:
      return "ERROR";
    case SceneStatus::Created:
      return "CREATED";
    case SceneStatus::Skipped:
      return "SKIPPED";
  }
  return "";
}

ResultTable parseResultTable(std::string_view text) { return TableParser(text).parse(); }

ResultTable readResultTable(const std::filesystem::path& folder) {
  const std::filesystem::path file = folder / kResultTableName;
  const std::string text = readTextFile(file, kLargestTable);
  try {
    return parseResultTable(text);
  } catch (const ReportError& error) {
    throw ReportError(file.string() + ", " + error.what());
  }
}

std::string imageName(int number) { return formatted("%04d.tif", number); }

std::string differenceImageName(int number) { return formatted("%04dd.tif", number); }

}  // namespace host
