#ifndef OBVISTA_APPLICATION_ARGUMENTS_H
#define OBVISTA_APPLICATION_ARGUMENTS_H

#include <string>
#include <vector>

namespace obvista {

/**
 * The argument vector that is handed to QApplication, and then to our own parser.
 *
 * Qt takes "--plugin NAME" for itself (its option for generic input plugins) and would keep it
 * from our parser. So each "--plugin" goes by another text until showPlugin() is called.
 *
 * QApplication keeps references to the count and the vector and removes what it recognises from
 * both: this object has to outlive it.
 */
class ApplicationArguments {
  public:
    ApplicationArguments(int argc, const char* const* argv);

    ApplicationArguments(const ApplicationArguments&) = delete;
    ApplicationArguments& operator=(const ApplicationArguments&) = delete;

    int& count() { return fCount; }
    char** values() { return fValues.data(); }

    /** Gives each "--plugin" its text back, once QApplication has taken what is Qt's. */
    void showPlugin();

  private:
    std::vector<std::string> fTexts;
    std::vector<char*> fValues;  // into fTexts or to fHidden, with a null at the end
    std::string fPlugin = "--plugin";
    std::string fHidden = "plugin";
    int fCount;
};

}  // namespace obvista

#endif
