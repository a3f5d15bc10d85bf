#ifndef OBVISTA_APPLICATION_ARGUMENTS_H
#define OBVISTA_APPLICATION_ARGUMENTS_H

#include <string>
#include <vector>

namespace obvista {

/**
 * The argument vector for QApplication and then for our parser.
 *
 * Qt handles "--plugin NAME" as its option for generic input plugins and would hide it from our
 * parser. So each "--plugin" is replaced by another text until showPlugin() is called.
 *
 * QApplication keeps references to the count and the vector and removes the arguments that it
 * handles from both: this object has to outlive it.
 */
class ApplicationArguments {
  public:
    ApplicationArguments(int argc, const char* const* argv);

    ApplicationArguments(const ApplicationArguments&) = delete;
    ApplicationArguments& operator=(const ApplicationArguments&) = delete;

    int& count() { return fCount; }
    char** values() { return fValues.data(); }

    /** Restores each "--plugin", after QApplication has removed Qt's arguments. */
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
