// SiteCheck: checks the pages under the given paths (files, and folders
// searched for *.vxl), the files they include, and then the variables that
// expressions read against what the pages, their includes and the request
// could set.
#pragma once

#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "check/CheckMessage.h"
#include "check/PageCheck.h"

class SiteCheck {
public:
    // A configuration file whose Preload script and propagated variables
    // count as set on every page; may be "".
    explicit SiteCheck(std::string iniPath = std::string());

    // Adds a page file or a folder (searched recursively for *.vxl); false
    // with a message when the path does not exist.
    bool AddPath(const std::string& path);

    // A variable the request brings to every page ("n.i" counts as "n").
    void AddRequestName(const std::string& name);

    // Checks everything added; messages in file order, each once.
    void Run();

    const std::vector<CheckMessage>& GetMessages() const { return Messages; }
    unsigned GetFileCount() const { return static_cast<unsigned>(Checked.size()); }
    bool HasErrors() const;

private:
    void CheckFile(const std::string& path);
    void CheckNames();

    std::string IniPath;
    std::vector<std::string> Queue;
    std::map<std::string, std::unique_ptr<PageCheck>> Checked;  // by the path as given
    std::set<std::string> RequestNames;                        // set by the configuration for every page
    std::vector<CheckMessage> Messages;
};
