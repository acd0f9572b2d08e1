// VexlParse::HandleTranslation: the TRANSLATION tag names the store (file,
// table and columns) and turns translation on or off.
#include "page/TranslationSource.h"
#include "foundation/Sql.h"
#include "page/VexlPage.h"
#include "tags/VexlParse.h"

void VexlParse::HandleTranslation(HtmlObject* tag) {
    struct Setting {
        const char* Parameter;
        NyxString* Field;  // null for the file, which goes through SetTranslationFile
    };
    const Setting settings[] = {
        {"file", nullptr},
        {"table", &Page->TranslationTable},
        {"keycolumn", &Page->TranslationKeyColumn},
        {"valuecolumn", &Page->TranslationValueColumn},
    };
    for (const Setting& setting : settings) {
        const int index = tag->FindEntry(setting.Parameter);
        if (index == 0) {
            NyxString message;
            message.Printf("<P>TRANSLATION tag does not have '%s' parameter.</P>\n", setting.Parameter);
            Page->ErrorOutput(tag->GetLineNum(), "%S", &message);
            return;
        }
        HtmlTagParam* evaluated = EvaluateTagParam(tag->GetEntry(index));
        if (setting.Field == nullptr) {
            const NyxString file = evaluated->GetValue();
            if (file.IsNotEmpty() && GenSqlConnection::TypeOfPlace(file) == GenSqlConnection::Sqlite &&
                !Page->Confinement->Admits(file)) {
                NyxString message;
                const NyxString shownFile = Page->Shown(file);
                message.Printf("<P>TRANSLATION file '%S' lies outside the site (QuinceConfig ConfineFiles).</P>\n", &shownFile);
                Page->ErrorOutput(tag->GetLineNum(), "%S", &message);
                delete evaluated;
                return;
            }
            Page->SetTranslationFile(file);
        } else {
            *setting.Field = evaluated->GetValue();
        }
        delete evaluated;
        // Texts translated before are not what the new setting gives.
        TranslationSource::BumpGeneration();
    }
    if (tag->FindEntry("enable") != 0) {
        Page->TranslationEnabled = true;
    } else if (tag->FindEntry("disable") != 0) {
        Page->TranslationEnabled = false;
    }
}
