#pragma once

#include <map>
#include <string>
#include <tuple>
#include <vector>

#include <glibmm/variant.h>

namespace quillory {

// The words in which the program's one shortcut is asked for and recognised on the bus.
namespace PortalShortcut {

using Options = std::map<Glib::ustring, Glib::VariantBase>;
using List = std::vector<std::tuple<Glib::ustring, Options>>;

// With its description in the user's language.
List list();
bool isIn(const Glib::VariantBase& list);
bool isNamed(const Glib::VariantBase& identifier);

// Of a text or an object path; empty for anything else.
std::string text(const Glib::VariantBase& value);
Glib::VariantBase option(const Glib::VariantBase& options, const char* key);

}

}
