// HtmlFunctions: the Quince functions of the html module, by which a
// user-tag procedure reads the page it was handed.
#pragma once

class QuinceContext;

namespace HtmlFunctions {

// Registers every html_* function with the context; false if one of them
// could not be registered.
bool RegisterAll(QuinceContext* context);

}  // namespace HtmlFunctions
