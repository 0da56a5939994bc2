// A host that writes 1.000,5 where others write 1000.5, for as long as one test lasts.
#pragma once

#include <clocale>
#include <locale>
#include <string>

class CommaLocale {
 public:
  CommaLocale()
      : stream_locale_(
            std::locale::global(std::locale(std::locale::classic(), new CommaNumbers))),
        c_locale_(std::setlocale(LC_ALL, nullptr)) {
    // The C library's locale too, where one of these is installed.
    for (const char* name : {"de_DE.UTF-8", "de_DE.utf8", "fr_FR.UTF-8", "fr_FR.utf8"}) {
      if (std::setlocale(LC_ALL, name) != nullptr) break;
    }
  }
  ~CommaLocale() {
    std::locale::global(stream_locale_);
    std::setlocale(LC_ALL, c_locale_.c_str());
  }
  CommaLocale(const CommaLocale&) = delete;
  CommaLocale& operator=(const CommaLocale&) = delete;

 private:
  class CommaNumbers : public std::numpunct<char> {
   protected:
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
  };

  const std::locale stream_locale_;
  const std::string c_locale_;
};
