// TagDefList: a linear table in order of first definition.
#include "tags/TagDefList.h"

int TagDefList::AddDefinition(const NyxString& name, const NyxString& proc, int parseFlag) {
    const int index = FindDefinition(name);
    if (index < 0) {
        Definitions.PushBack(TagDefinition{name, proc, parseFlag});
        return static_cast<int>(Definitions.Size()) - 1;
    }
    TagDefinition& definition = Definitions[static_cast<unsigned>(index)];
    definition.Name = name;
    definition.Proc = proc;
    definition.ParseFlag = parseFlag;
    return index;
}

int TagDefList::FindDefinition(const NyxString& name) {
    for (unsigned i = 0; i < Definitions.Size(); ++i) {
        if (Definitions[i].Name.IsEqualTo(name, false)) return static_cast<int>(i);
    }
    return -1;
}

NyxString TagDefList::GetDefinition(const NyxString& name) {
    const int index = FindDefinition(name);
    return index < 0 ? NyxString() : Definitions[static_cast<unsigned>(index)].Proc;
}

int TagDefList::GetParseFlag(const NyxString& name) {
    const int index = FindDefinition(name);
    return index < 0 ? 0 : Definitions[static_cast<unsigned>(index)].ParseFlag;
}

void TagDefList::DeleteDefinition(const NyxString& name) {
    const int index = FindDefinition(name);
    if (index >= 0) DeleteDefinition(index);
}

void TagDefList::DeleteDefinition(int index) { Definitions.Remove(static_cast<unsigned>(index)); }
