#include "support/ufmAbout.h"

TfmAbout::TfmAbout() : TForm("fmAbout", "About Corvelle", 360, 220) {
    Label1.SetCaption("Version:");
    Label3.SetCaption("1.0.0 build 01");
    Label4.SetCaption("Microsoft Outlook is a trademark of Microsoft Corporation.");
    Label2.SetCaption("Copyright (c) 2026 the Corvelle developers");
    Label5.SetCaption("support@corvelle.invalid");
    LinkLabel1.SetCaption("https://corvelle.invalid");
    BitBtn1.SetKind(bkOK);
    // Layout: the version beside its label, the notices below, OK at the bottom right.
    Label1.SetBounds(12, 12, 56, 17);
    Label3.SetBounds(72, 12, 260, 17);
    Label4.SetBounds(12, 38, 320, 32);
    Label2.SetBounds(12, 72, 320, 17);
    Label5.SetBounds(12, 98, 320, 17);
    LinkLabel1.SetBounds(12, 118, 320, 17);
    BitBtn1.SetBounds(261, 148, 75, 25);
    BitBtn1.Anchors = {false, false, true, true};
    AfterConstruction();
}
