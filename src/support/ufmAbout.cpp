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
    Label1.SetBounds(16, 16, 56, 17);
    Label3.SetBounds(76, 16, 268, 17);
    Label4.SetBounds(16, 48, 336, 17);
    Label2.SetBounds(16, 72, 336, 17);
    Label5.SetBounds(16, 104, 336, 17);
    LinkLabel1.SetBounds(16, 128, 336, 17);
    BitBtn1.SetBounds(273, 183, 75, 25);
    BitBtn1.Anchors = {false, false, true, true};
    AfterConstruction();
}
