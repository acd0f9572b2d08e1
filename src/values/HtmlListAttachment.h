// HtmlListAttachment: what a handler works out once about an object of a
// list and keeps with the list for its later visits (a LOOP body's plan).
// The list destroys its attachments when it changes and when it goes.
#pragma once

class HtmlListAttachment {
public:
    HtmlListAttachment() = default;
    HtmlListAttachment(const HtmlListAttachment&) = delete;
    HtmlListAttachment& operator=(const HtmlListAttachment&) = delete;
    virtual ~HtmlListAttachment() = default;
};
