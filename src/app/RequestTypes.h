// The shapes in which a front end hands a request to the shared request
// handling and takes the response back: the CGI environment as a map, the
// body as a reader, the answer as status, headers and body.
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <utility>
#include <vector>

// CGI meta-variables by name (REQUEST_METHOD, QUERY_STRING, HTTP_COOKIE, ...).
using RequestEnvironment = std::map<std::string, std::string>;

// The request body, read in pieces. Read returns the bytes read, 0 at the
// end, -1 on an error or a time-out.
class BodyReader {
public:
    virtual ~BodyReader() = default;
    virtual long Read(char* buffer, std::size_t size) = 0;
};

// Where a response goes. Write returns false when the peer is gone.
class ResponseWriter {
public:
    virtual ~ResponseWriter() = default;
    virtual bool Write(const char* data, std::size_t size) = 0;
};

struct PageResponse {
    int Status = 200;
    bool StatusFromPage = false;  // the page named a status (a "status" header)
    std::string StatusText;       // "404 Not Found"; empty means the standard phrase
    std::vector<std::pair<std::string, std::string>> Headers;  // in order; no Status, no Content-Length
    std::string Body;
};

// Looks a variable up in the environment; empty when absent.
inline std::string GetEnvironmentValue(const RequestEnvironment& environment, const std::string& name)
{
    auto found = environment.find(name);
    return found == environment.end() ? std::string() : found->second;
}
