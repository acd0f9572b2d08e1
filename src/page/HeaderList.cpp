// HeaderList: a linear table; headers are few, so every search is a scan.
#include "page/HeaderList.h"

int HeaderList::Add(const NyxString& name, const NyxString& value) {
    HeaderPair pair{name, value};
    pair.Name.ToLower();
    const int index = Find(name);
    if (index >= 0) {
        Pairs[static_cast<unsigned>(index)] = pair;
        return index;
    }
    Pairs.PushBack(pair);
    return GetCount();
}

int HeaderList::Find(const NyxString& name) {
    for (unsigned i = 0; i < Pairs.Size(); ++i) {
        if (Pairs[i].Name.IsEqualTo(name, false)) return static_cast<int>(i);
    }
    return -1;
}

NyxString HeaderList::GetValue(const NyxString& name) {
    const int index = Find(name);
    return index < 0 ? NyxString() : Pairs[static_cast<unsigned>(index)].Value;
}

NyxString HeaderList::GetValue(int index) { return Pairs[static_cast<unsigned>(index)].Value; }

NyxString HeaderList::GetName(int index) { return Pairs[static_cast<unsigned>(index)].Name; }

int HeaderList::GetCount() { return static_cast<int>(Pairs.Size()); }

void HeaderList::Delete(const NyxString& name) {
    const int index = Find(name);
    if (index >= 0) Delete(index);
}

void HeaderList::Delete(int index) { Pairs.Remove(static_cast<unsigned>(index)); }
