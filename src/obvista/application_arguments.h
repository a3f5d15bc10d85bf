#ifndef OBVISTA_APPLICATION_ARGUMENTS_H
#define OBVISTA_APPLICATION_ARGUMENTS_H

#include <string>
#include <vector>

namespace obvista {

/**
 * The argument vector that is handed to QApplication.
 *
 * Qt takes "--plugin NAME" for itself (its option for generic input plugins) and would keep it
 * from the application's own parser. It does not know "--plugin=NAME", so the pair is written
 * that way. A "--plugin" without a name becomes "--plugin=", which our parser refuses.
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

  private:
    std::vector<std::string> fTexts;
    std::vector<char*> fValues;  // into fTexts, with a null at the end
    int fCount;
};

}  // namespace obvista

#endif
