#include "support/ufmAbout.h"

TfmAbout::TfmAbout() : TForm("fmAbout", "About Corvelle", 360, 220) {
    Label1.SetCaption("Version:");
    Label3.SetCaption("1.0.0 build 01");
    Label4.SetCaption("Microsoft Outlook is a trademark of Microsoft Corporation.");
    Label2.SetCaption("Copyright (c) 2026 the Corvelle developers");
    Label5.SetCaption("support@corvelle.invalid");
    LinkLabel1.SetCaption("https://corvelle.invalid");
    BitBtn1.SetKind(bkOK);
    AfterConstruction();
}
