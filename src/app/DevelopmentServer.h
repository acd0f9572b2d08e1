// DevelopmentServer: a small HTTP/1.1 server on 127.0.0.1 for page authors.
// Pages (.vxl) go through the same request handling as CGI and FastCGI;
// other files are sent with a content type by extension. Every limit is
// fixed: connections, head and body size, time-outs, requests per connection.
#pragma once

#include <string>

#include "app/HandlerSettings.h"

// Simultaneous connections; one more is answered with 503 and closed. A
// connection costs a thread that mostly waits, so that slow clients holding
// some of them leave the rest to others.
constexpr int kMaxConnections = 512;
// Pages running at once (each a process); a request waits this long for a
// turn before it is answered with 503.
constexpr int kMaxPageProcesses = 16;
constexpr int kPageTurnWaitMilliseconds = 30000;
// Time for a whole request head to arrive once its first byte has.
constexpr int kHeadTimeoutMilliseconds = 10000;
// Time a kept-alive connection may stay idle before the next request.
constexpr int kIdleTimeoutMilliseconds = 5000;
// Time for the body to arrive, and for each write to make progress.
constexpr int kBodyTimeoutMilliseconds = 10000;
constexpr int kWriteTimeoutMilliseconds = 10000;
// Requests on one connection before it is closed.
constexpr int kMaxRequestsPerConnection = 1000;
// Static files are read whole; larger ones are refused.
constexpr long long kMaxStaticFileBytes = 32ll * 1024 * 1024;

struct ServerConfig {
    std::string Root;       // folder to serve, as given
    int Port = 8080;        // 0: any free port
    HandlerOptions Options; // handed to every page request
};

// Listens and serves until the process is stopped. Returns an exit status
// when it cannot listen; writes "listening on http://127.0.0.1:PORT/" to
// stderr once it can.
int RunDevelopmentServer(const ServerConfig& config);
