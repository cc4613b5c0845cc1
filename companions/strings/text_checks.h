#pragma once
// What one text says beside another: placeholders, blanks and signs at its ends, its width on the screen.
// Text in, facts out.

#include <string>
#include <string_view>
#include <vector>

namespace companion {

/// What a program puts values into: printf's conversions (not %%), {name}, {0}; sorted. Conversions without a
/// number get theirs from their order, "%s %d" is "%1$s" and "%2$d": only so can texts change the order.
std::vector<std::string> placeholdersOf(std::u16string_view text);

/// Blanks, tabs, no-break and ideographic spaces at the ends.
bool beginsInBlank(std::u16string_view text);
bool endsInBlank(std::u16string_view text);

/// The sign that ends a text, blanks aside, in its plain form: "." stands for the full width and ideographic
/// ones too, "..." for an ellipsis; empty for no sign.
std::string closingSign(std::u16string_view text);

/// Columns that a text takes in a terminal; an ideograph takes two, a combining mark none.
std::size_t widthOf(std::u16string_view text);

}  // namespace companion
