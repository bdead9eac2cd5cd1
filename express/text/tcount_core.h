// tcount without the drawing: the orderings, the numbers and where they go.
#pragma once

#include <string>
#include <vector>

namespace express::text {

enum class CountOrder { X, Y, Selection };
enum class NumberPlacement { Overwrite, Prefix, Suffix, FindReplace };

// Indices of the objects in numbering order from their insertion points (selection order
// given). "X": ascending X, equal X in selection order. "Y": descending Y, equal Y in the
// reverse of selection order.
std::vector<size_t> countOrder(const std::vector<double>& xs, const std::vector<double>& ys, CountOrder order);

// The number of the k-th object, without decimals.
std::string countNumber(double start, double increment, size_t k);

// The text with its number placed. A multiline text whose contents open with a paragraph
// break keeps it when overwritten, so the number stays on the line it was on.
std::string placeNumber(const std::string& text, const std::string& number, NumberPlacement where,
                        bool multiline, const std::string& find = "");

// Splits an answer "start,increment" into its two parts; false without exactly one comma
// or with an empty part.
bool splitStartIncrement(const std::string& answer, std::string& start, std::string& increment);

}  // namespace express::text
