// PageResponse helpers.
#include "app/PageResponse.h"

#include <cstdio>

const char* GetReasonPhrase(int status)
{
    switch (status) {
    case 200: return "OK";
    case 201: return "Created";
    case 204: return "No Content";
    case 301: return "Moved Permanently";
    case 302: return "Found";
    case 303: return "See Other";
    case 304: return "Not Modified";
    case 307: return "Temporary Redirect";
    case 308: return "Permanent Redirect";
    case 400: return "Bad Request";
    case 401: return "Unauthorized";
    case 403: return "Forbidden";
    case 404: return "Not Found";
    case 405: return "Method Not Allowed";
    case 408: return "Request Timeout";
    case 411: return "Length Required";
    case 413: return "Content Too Large";
    case 414: return "URI Too Long";
    case 431: return "Request Header Fields Too Large";
    case 500: return "Internal Server Error";
    case 501: return "Not Implemented";
    case 503: return "Service Unavailable";
    case 505: return "HTTP Version Not Supported";
    default: return "Unknown";
    }
}

PageResponse MakeErrorResponse(int status, const std::string& message)
{
    PageResponse response;
    response.Status = status;
    response.Headers.emplace_back("Content-Type", "text/html; charset=utf-8");
    char title[64];
    std::snprintf(title, sizeof title, "%d %s", status, GetReasonPhrase(status));
    std::string escaped;
    for (char c : message) {
        switch (c) {
        case '<': escaped += "&lt;"; break;
        case '>': escaped += "&gt;"; break;
        case '&': escaped += "&amp;"; break;
        case '"': escaped += "&quot;"; break;
        default: escaped += c;
        }
    }
    response.Body = std::string("<!DOCTYPE html>\n<html><head><meta charset=\"utf-8\"><title>") + title +
                    "</title></head>\n<body><h1>" + title + "</h1>\n<p>" + escaped + "</p></body></html>\n";
    return response;
}

std::string GetStatusText(const PageResponse& response)
{
    if (!response.StatusText.empty())
        return response.StatusText;
    char text[64];
    std::snprintf(text, sizeof text, "%d %s", response.Status, GetReasonPhrase(response.Status));
    return text;
}

bool WriteCgiResponse(const PageResponse& response, ResponseWriter& writer, bool withBody)
{
    std::string head;
    if (response.Status != 200 || response.StatusFromPage)
        head += "Status: " + GetStatusText(response) + "\r\n";
    for (const auto& [name, value] : response.Headers)
        head += name + ": " + value + "\r\n";
    head += "\r\n";
    if (!writer.Write(head.data(), head.size()))
        return false;
    if (withBody && !response.Body.empty())
        return writer.Write(response.Body.data(), response.Body.size());
    return true;
}
