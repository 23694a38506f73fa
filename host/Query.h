// What the subcommands that only look have in common: they enter texts, and change nothing outside the program.
#pragma once

#include "Texts.h"

#include <functional>
#include <string>

namespace orv {
class KSLObject;
}

enum class OutputFormat { text, json, csv };

struct QueryOptions {
  TextOptions input;  // its files are those of -f
  std::string load;   // a state file, before them; empty for none
  OutputFormat format = OutputFormat::text;
};

// The actions of this program, beside the library's, that keep to the objects.
const std::vector<std::string>& harmlessActions();

// Brings the library up, loads the state, enters the texts and lets `work` look at what there is. Nothing is written,
// neither by actions nor by calculations. `watch` is called before each text is entered, with what it is called in
// reports ("a.ksl", "-e"), and once the last has been. Work is not begun when the state cannot be loaded. Returns as
// runWithTexts does.
int runQuery(const QueryOptions& options, const std::function<void()>& work,
             const std::function<void(const std::string&)>& watch = {});

// What a text "PATH", "NAME" or either with ".PARAM" names: the longest part of it that names an object, and what
// comes behind its dot.
struct NamedParam {
  const orv::KSLObject* object = nullptr;
  std::string param;  // empty for the object as such
};
// Null object when there is none. Throws data::invalid for a name that several objects share.
NamedParam findNamed(const std::string& text);
// The same, but throws data::notFound "Object '%s' does not exist." or "Parameter '%s' does not exist on object %s.".
NamedParam requireNamed(const std::string& text);
