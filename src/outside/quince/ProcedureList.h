// ProcedureList: the compiled procedures of a context, by name. Entries
// (GetEntry, from 1) are the engine's compiled procedures.
#pragma once

#include "outside/foundation/NodeList.h"
#include "values/NyxString.h"

class ProcedureList : public NodeList {
public:
    ProcedureList();
    ~ProcedureList() override;

    // 0 if absent, else the procedure's 1-based number. Names are exact.
    unsigned FindProcedure(const NyxString& name) const;
    // Removes the procedure; a missing name is ignored.
    void DeleteProcedure(const NyxString& name);
};
