// PageRequest: the request handling that every web front end shares. It
// decodes the request, chooses the page inside the document root, runs a
// fresh VexlPage on it and turns the page's headers into a response.
#pragma once

#include "app/HandlerSettings.h"
#include "app/RequestTypes.h"

// The page that "/" and a bare folder lead to.
extern const char kIndexPageName[];
// Only files with this ending are run as pages.
extern const char kPageExtension[];

// Handles one request: the CGI meta-variables in `environment`, the body in
// `body`. Never throws; failures come back as 4xx/5xx responses.
PageResponse RenderPageRequest(const RequestEnvironment& environment, BodyReader& body,
                               const HandlerSettings& settings);

// RenderPageRequest, then the response in CGI form to `writer` (no body for HEAD).
bool HandleCgiRequest(const RequestEnvironment& environment, BodyReader& body, ResponseWriter& writer,
                      const HandlerSettings& settings);
