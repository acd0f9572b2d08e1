-- Translations of the example site: the text of a page, exactly as it stands
-- between two tags, and its German translation. make-translations.sh builds
-- translations.db from this file.
CREATE TABLE IF NOT EXISTS texts (
    source TEXT PRIMARY KEY,
    target TEXT NOT NULL DEFAULT ''
);
INSERT OR REPLACE INTO texts (source, target) VALUES
    ('Welcome', 'Willkommen'),
    ('Welcome to the translated page.', 'Willkommen auf der übersetzten Seite.');
