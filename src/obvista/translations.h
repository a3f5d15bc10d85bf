#ifndef OBVISTA_TRANSLATIONS_H
#define OBVISTA_TRANSLATIONS_H

namespace obvista {

/**
 * Makes tr() return texts in the user's language, if there is a catalogue for it; LANGUAGE has
 * precedence over the locale. Texts are English otherwise. Call it on the GUI thread, after the
 * application object is made and before the first window.
 */
void installTranslations();

}  // namespace obvista

#endif
