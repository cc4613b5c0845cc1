#pragma once
// A search for texts as lines for people, and as JSON.

#include <string>

#include "companions/literals/search.h"

namespace companion {

/// One text for a terminal, in the form that editors jump by; a long text is cut.
std::string placeLine(const PlacedText& text);

/// How the texts compare with a baseline.
struct Comparison {
  std::string baseline;
  size_t fresh = 0;  ///< texts that it does not hold
  size_t gone = 0;   ///< texts that only it holds
};

/// Everything as one JSON object, with each text in a line of its own. Texts are turned into JSON as they
/// come: there may be millions.
class JsonListing {
 public:
  void add(const PlacedText& text);
  /// The JSON text, with its line end. `comparison` may be null. Empties the listing.
  std::string finish(const std::string& folder, size_t literals, const SearchedFiles& files,
                     const Comparison* comparison);

 private:
  std::string lines_;
};

}  // namespace companion
