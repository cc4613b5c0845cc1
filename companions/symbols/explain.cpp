#include "companions/symbols/explain.h"

#include <algorithm>
#include <array>
#include <map>
#include <set>

#include "host/services/expression.h"
#include "host/services/jsonbytes.h"
#include "host/services/utf8.h"

namespace companion {

using nlohmann::ordered_json;

namespace {

std::string placeText(const Place& place) { return place.file + ":" + std::to_string(place.line); }

bool isNameLetter(char c) {
  return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_' || static_cast<unsigned char>(c) > 127;
}

/// The names in a text, quoted parts left out, in their order.
std::vector<std::string> namesIn(const std::string& text) {
  std::vector<std::string> names;
  char quote = 0;
  for (size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (quote != 0) {
      if (c == '\\') ++i;
      if (c == quote) quote = 0;
    } else if (c == '"' || c == '\'') {
      quote = c;
    } else if (isNameLetter(c)) {
      size_t end = i;
      while (end < text.size() && isNameLetter(text[end])) ++end;
      const bool isNumber = std::isdigit(static_cast<unsigned char>(c)) != 0;
      std::string name = text.substr(i, end - i);
      if (!isNumber) names.push_back(std::move(name));
      i = end - 1;
    }
  }
  return names;
}

std::string joined(const std::vector<std::string>& parts) {
  std::string text;
  for (const std::string& part : parts) text.append(text.empty() ? "" : ", ").append(part);
  return text;
}

/// The words of the header that were no symbols; where parts of words were put in, what that made of them.
std::vector<std::string> wordsWithoutValue(const Entry& entry) {
  std::set<std::string> used;
  for (const Replacement& replacement : entry.used) used.insert(replacement.name);
  std::vector<std::string> words = namesIn(entry.rawText);
  const auto isUsed = [&](const std::string& word) { return used.count(word) != 0; };
  words.erase(std::remove_if(words.begin(), words.end(), isUsed), words.end());
  if (words.empty()) words = namesIn(entry.text);
  std::sort(words.begin(), words.end());
  words.erase(std::unique(words.begin(), words.end()), words.end());
  return words;
}

/// Names that have no value when they are needed, and whether they get one later.
std::string unknownNames(const Account& account, const Entry& entry) {
  std::vector<std::string> parts;
  for (std::string name : wordsWithoutValue(entry)) {
    const Entry* later = account.entryOf(name);
    if (later != nullptr) {
      name.append(later->isEnumerator ? " (an enumerator that is read later, " : " (defined later, ")
          .append(placeText(later->place))
          .append(")");
    } else if (account.functionLike.count(name) != 0) {
      name.append(" (a function-like macro)");
    }
    parts.push_back(std::move(name));
  }
  return parts.empty() ? "no constant expression" : "unknown: " + joined(parts);
}

bool isString(const Entry& entry) { return entry.rawText.find('"') != std::string::npos; }

std::string whyItFailed(const Account& account, const Entry& entry) {
  namespace status = host::evaluation_status;
  if (entry.isFunctionLike) return "function-like macro";
  const uint32_t why = entry.found.status;
  if (isString(entry)) return "a string";
  if ((why & status::kArithmetic) != 0)
    return "division by zero, a shift out of range, or a real that does not fit";
  if ((why & status::kDepth) != 0) return "nested too deeply";
  if ((why & status::kName) != 0) return unknownNames(account, entry);
  if (entry.found.wrapped) return "does not fit 32 bits";
  if (entry.text.empty()) return entry.rawText.empty() ? "no value behind \"=\"" : "not four bytes";
  return "no constant expression";
}

std::string duplicateOf(const Account& account, const Entry& entry) {
  const Entry* first = account.entryOf(entry.symbol);
  if (first == nullptr) return "duplicate";
  std::string text = "duplicate of " + placeText(first->place);
  if (first->number != entry.number) {
    text.append(", which has another value: ").append(std::to_string(first->number));
  }
  return text;
}

const char* fateName(const Entry& entry) {
  switch (entry.fate) {
    case Fate::Exported:
      return entry.neverWritten ? "never written" : "exported";
    case Fate::Duplicate:
      return "duplicate";
    case Fate::SpecialName:
      return "special name";
    case Fate::Failed:
      return entry.isFunctionLike ? "function-like" : "no value found";
    case Fate::RealConstant:
      return "real constant";
    case Fate::NameMissing:
      return "no name";
    case Fate::NoValue:
      return "empty";
    case Fate::Abandoned:
      return entry.isFunctionLike ? "function-like" : "two groups";
    case Fate::NotRecognised:
      return "blank behind #";
    case Fate::Dropped:
      return "ended by ;";
  }
  return "";
}

/// The kinds in the order in which they are listed.
constexpr std::array<const char*, 12> kFateNames = {
    "exported",      "never written", "duplicate", "special name", "no value found", "real constant",
    "function-like", "two groups",    "empty",     "no name",      "blank behind #", "ended by ;"};

std::array<size_t, kFateNames.size()> countFates(const Account& account) {
  std::array<size_t, kFateNames.size()> counts{};
  for (const Entry& entry : account.entries) {
    const std::string_view name = fateName(entry);
    const auto at = std::find(kFateNames.begin(), kFateNames.end(), name);
    ++counts[static_cast<size_t>(at - kFateNames.begin())];
  }
  return counts;
}

bool hasValue(const Entry& entry) {
  return entry.fate == Fate::Exported || entry.fate == Fate::Duplicate || entry.fate == Fate::SpecialName;
}

bool isDirective(const Entry& entry) {
  constexpr std::array<std::string_view, 10> kWords = {"if",    "ifdef",  "ifndef", "elif",    "else",
                                                       "endif", "define", "undef",  "include", "pragma"};
  return entry.isEnumerator && std::find(kWords.begin(), kWords.end(), entry.name) != kWords.end();
}

/// A symbol that is put in more often than its name stands there was a part of something longer.
std::vector<std::string> notesOnParts(const Entry& entry) {
  std::map<std::string, size_t> words;
  for (const std::string& word : namesIn(entry.rawText)) ++words[word];
  std::vector<std::string> notes;
  for (const Replacement& used : entry.used) {
    const bool isSize = used.name.find('(') != std::string::npos;
    if (!isSize && used.times > words[used.name]) {
      notes.push_back(used.name + " was put in as a part of a longer word");
    }
  }
  return notes;
}

}  // namespace

std::string reasonOf(const Account& account, const Entry& entry) {
  switch (entry.fate) {
    case Fate::Exported:
      return entry.neverWritten ? "counts as a symbol, and is never written" : "";
    case Fate::Duplicate:
      return duplicateOf(account, entry);
    case Fate::SpecialName:
      return "a name that is never kept";
    case Fate::Failed:
      return whyItFailed(account, entry);
    case Fate::RealConstant:
      return "real constant " + outfitter::ShortestReal(entry.found.real);
    case Fate::NameMissing:
      return "no identifier behind \"define\"";
    case Fate::NoValue:
      return "no value";
    case Fate::Abandoned:
      return entry.isFunctionLike ? "function-like macro" : "two bracketed groups";
    case Fate::NotRecognised:
      return "a blank between \"#\" and \"define\"";
    case Fate::Dropped:
      return "a \";\" stands behind it";
  }
  return {};
}

std::vector<std::string> notesOn(const Account& account, const Entry& entry) {
  std::vector<std::string> notes;
  if (!isString(entry)) notes = notesOnParts(entry);
  if (!hasValue(entry)) return notes;
  if (entry.lostBehindSlash) notes.emplace_back("what stands behind \"/\" is lost");
  if (entry.found.wrapped) notes.emplace_back("does not fit 32 bits: taken modulo 2^32");
  if (isDirective(entry)) {
    notes.emplace_back("a directive inside an enumeration");
  } else if (entry.passedOver) {
    notes.emplace_back("what stands behind the name is passed over");
  }
  if (entry.behindOverrun) notes.emplace_back("counts on behind a comment that may hide an enumerator");
  if (entry.behindOddity) {
    notes.emplace_back("counts on from an enumerator that is left out, or read otherwise than by a compiler");
  }
  for (const Replacement& used : entry.used) {
    const Entry* part = account.entryOf(used.name);
    if (part != nullptr && part->isOdd) notes.push_back("made of " + used.name + ": see there");
  }
  return notes;
}

std::string explain(const Account& account, const Entry& entry) {
  std::string text = placeText(entry.place) + ": " + (entry.name.empty() ? "#define" : entry.name);
  if (!entry.rawText.empty()) text.append(" = ").append(entry.rawText);
  if (entry.text != entry.rawText && !entry.text.empty()) text.append(" -> ").append(entry.text);
  const std::string reason = reasonOf(account, entry);
  if (hasValue(entry) && entry.text != std::to_string(entry.number)) {
    text.append(" = ").append(std::to_string(entry.number));
  }
  if (!reason.empty()) text.append("\n    left out: ").append(reason);
  for (const std::string& note : notesOn(account, entry)) text.append("\n    note: ").append(note);
  return text;
}

std::string explain(const OverrunComment& overrun) {
  std::string text = placeText(overrun.place) + ": this comment ";
  if (overrun.neverEnds) return text + "never ends";
  text.append("ends with an even number of stars, so it goes on up to line ")
      .append(std::to_string(overrun.lastLine));
  if (overrun.hidesEnumeration) text.append("; the enumeration that begins in it is lost as a whole");
  return text;
}

std::string summary(const Account& account) {
  std::string text = std::to_string(account.headers.size()) + " headers, " +
                     std::to_string(account.entries.size()) + " defines and enumerators:";
  const auto counts = countFates(account);
  for (size_t i = 0; i < counts.size(); ++i) {
    if (counts[i] == 0) continue;
    const std::string number = std::to_string(counts[i]);
    text.append("\n").append(std::string(std::max<size_t>(number.size(), 9) - number.size(), ' '));
    text.append(number).append("  ").append(kFateNames[i]);
  }
  if (!account.overruns.empty()) {
    text.append("\nComments that go on behind their end, and hide what follows: ");
    text.append(std::to_string(account.overruns.size())).append(" (--explain lists them)");
  }
  return text;
}

ordered_json toJson(const Account& account) {
  ordered_json json = {{"headers", account.headers.size()}, {"entries", account.entries.size()}};
  const auto counts = countFates(account);
  for (size_t i = 0; i < counts.size(); ++i) json["counts"][kFateNames[i]] = counts[i];
  json["unreadable"] = ordered_json::array();
  for (const UnreadableHeader& header : account.unreadable) {
    json["unreadable"].push_back({{"file", host::bytesToJson(header.file)}, {"reason", header.reason}});
  }
  json["overrunComments"] = ordered_json::array();
  for (const OverrunComment& overrun : account.overruns) {
    json["overrunComments"].push_back({{"file", host::bytesToJson(overrun.place.file)},
                                       {"line", overrun.place.line},
                                       {"lastLine", overrun.lastLine},
                                       {"hidesEnumeration", overrun.hidesEnumeration},
                                       {"neverEnds", overrun.neverEnds}});
  }
  json["symbols"] = ordered_json::array();
  for (const Entry& entry : account.entries) {
    ordered_json one = {{"name", host::bytesToJson(entry.name)},
                        {"kind", entry.isEnumerator ? "enumerator" : "define"},
                        {"file", host::bytesToJson(entry.place.file)},
                        {"line", entry.place.line},
                        {"outcome", fateName(entry)},
                        {"text", host::bytesToJson(entry.rawText)}};
    if (entry.text != entry.rawText) one["evaluated"] = host::bytesToJson(entry.text);
    for (const Replacement& used : entry.used) {
      one["substituted"].push_back({{"name", host::bytesToJson(used.name)}, {"value", used.value}});
    }
    if (hasValue(entry)) one["value"] = entry.number;
    if (entry.fate == Fate::RealConstant) one["real"] = entry.found.real;
    const std::string reason = reasonOf(account, entry);
    if (!reason.empty()) one["reason"] = host::bytesToJson(reason);
    for (const std::string& note : notesOn(account, entry)) one["notes"].push_back(note);
    json["symbols"].push_back(std::move(one));
  }
  return json;
}

}  // namespace companion
