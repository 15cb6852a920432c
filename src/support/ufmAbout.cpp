#include "support/ufmAbout.h"

TfmAbout::TfmAbout() : TForm("fmAbout", "About Corvelle", 360, 240) {}
