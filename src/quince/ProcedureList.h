// ProcedureList: the compiled procedures of a context, by name. Entries
// (GetEntry, from 1) are the engine's compiled procedures; the list owns them.
// Change the list through these members only: they keep the engine's caches
// of procedures up to date.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>

#include "foundation/NodeList.h"
#include "values/NyxString.h"

namespace quince {
struct Procedure;
}

class ProcedureList : public NodeList {
public:
    ProcedureList();
    ~ProcedureList() override;

    // 0 if absent, else the procedure's 1-based number. Names are exact.
    unsigned FindProcedure(const NyxString& name) const;
    // Removes the procedure; a missing name is ignored.
    void DeleteProcedure(const NyxString& name);

    // The engine's side.
    quince::Procedure* GetProcedure(std::string_view name) const;
    void AddProcedure(quince::Procedure* procedure);  // takes it over; replaces one of the same name
    void DeleteAllProcedures();
    uint64_t GetGeneration() const { return Generation; }  // changes with every change of the list

private:
    uint64_t Generation = 1;
    std::unordered_map<std::string_view, quince::Procedure*> Index;  // by name; keys view the procedures' names
};
