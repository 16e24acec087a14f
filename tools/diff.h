// What two trees differ in.
#ifndef VEXO_TOOLS_DIFF_H
#define VEXO_TOOLS_DIFF_H

#include "vexo_variant/variant.h"

namespace tool {

/// Whether two trees are equal.
///
/// Numbers are equal by value, whatever their types; other leaves only to their own kind. Maps are
/// compared key by key, and also in whether they are arrays, and in the names of their types.
bool areEqual(const vexo::variant::Variant& left, const vexo::variant::Variant& right);

/// Also prints each difference, in the order of paths: `- path = value` for what only the left tree
/// has, `+ path = value` for the right one. Values are compact JSON, behind their type where they
/// would look the same. Of maps that are not of one kind the kinds are printed, as in `(MAP)` and
/// `(MAP, array)`, and then what their members differ in. With colours, lines of the left tree are
/// red, those of the right one green.
bool printDifferences(const vexo::variant::Variant& left, const vexo::variant::Variant& right,
                      bool colours);

}  // namespace tool

#endif
