// ContentTypes: the media type of a static file by its extension, for the
// development server. Files of any other extension are not served, so that
// configuration, databases and page fragments stay private.
#pragma once

#include <string_view>

// The Content-Type value for `path`, or null when the file is not to be served.
const char* FindStaticContentType(std::string_view path);
