// ProcedureList: compiled procedures by name.
#include "quince/ProcedureList.h"

#include "quince/Procedure.h"

namespace {

void ReleaseEntry(void* entry) { quince::ReleaseProcedure(static_cast<quince::Procedure*>(entry)); }

}  // namespace

ProcedureList::ProcedureList() : NodeList(&ReleaseEntry) {}

ProcedureList::~ProcedureList() = default;

unsigned ProcedureList::FindProcedure(const NyxString& name) const {
    for (unsigned number = 1; number <= GetCount(); ++number) {
        const auto* procedure = static_cast<const quince::Procedure*>(GetEntry(number));
        if (procedure != nullptr && procedure->Name.View() == name.View()) return number;
    }
    return 0;
}

quince::Procedure* ProcedureList::GetProcedure(std::string_view name) const {
    auto found = Index.find(name);
    return found != Index.end() ? found->second : nullptr;
}

void ProcedureList::DeleteProcedure(const NyxString& name) {
    const unsigned number = FindProcedure(name);
    if (number == 0) return;
    Index.erase(name.View());
    DeleteEntry(number);
    ++Generation;
}

void ProcedureList::AddProcedure(quince::Procedure* procedure) {
    const unsigned number = FindProcedure(procedure->Name);
    // The key views the name of the procedure it maps to, so it is put in anew.
    Index.erase(procedure->Name.View());
    if (number != 0) SetEntry(number, procedure);
    else AddEntry(procedure);
    Index.emplace(procedure->Name.View(), procedure);
    ++Generation;
}

void ProcedureList::DeleteAllProcedures() {
    Index.clear();
    DeleteAllEntries();
    ++Generation;
}
