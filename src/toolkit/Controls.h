#pragma once
// Everything a form's unit needs of the toolkit: the form base, the controls, the menus.
#include "toolkit/DBCtrls.h"
#include "toolkit/DBGrid.h"
#include "toolkit/DBTreeList.h"
#include "toolkit/ExtCtrls.h"
#include "toolkit/Forms.h"
#include "toolkit/Graphics.h"
#include "toolkit/Menus.h"
#include "toolkit/StdCtrls.h"
