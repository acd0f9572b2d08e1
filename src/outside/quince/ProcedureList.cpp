// ProcedureList: compiled procedures by name.
#include "outside/quince/ProcedureList.h"

#include "outside/quince/Procedure.h"

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
    for (unsigned number = 1; number <= GetCount(); ++number) {
        auto* procedure = static_cast<quince::Procedure*>(GetEntry(number));
        if (procedure != nullptr && procedure->Name.View() == name) return procedure;
    }
    return nullptr;
}

void ProcedureList::DeleteProcedure(const NyxString& name) {
    const unsigned number = FindProcedure(name);
    if (number == 0) return;
    DeleteEntry(number);
    ++Generation;
}

void ProcedureList::AddProcedure(quince::Procedure* procedure) {
    const unsigned number = FindProcedure(procedure->Name);
    if (number != 0) SetEntry(number, procedure);
    else AddEntry(procedure);
    ++Generation;
}

void ProcedureList::DeleteAllProcedures() {
    DeleteAllEntries();
    ++Generation;
}
