#!/usr/bin/env bash
# Makes the README's pictures in docs/screenshots/ from the screenshots that the Windows tests
# leave in build/windows/screenshots/ (run `bash scripts/test-windows.sh` first): each cut to the
# windows it shows (the window tests write their place beside the picture, as NAME.box) and
# reduced to 64 colours, so that each stays small.
set -euo pipefail
cd "$(dirname "$0")/.."
from=build/windows/screenshots
to=docs/screenshots
mkdir -p "$to"
# NAME SOURCE [GEOMETRY]: the source's windows alone when it tells where they are, else the whole
# picture; then, when given, that part of it.
picture() {
  local crop=() box="$from/${2%.png}.box"
  [ ! -s "$box" ] || crop=(-crop "$(head -n 1 "$box")" +repage)
  [ -z "${3:-}" ] || crop+=(-crop "$3" +repage)
  convert "$from/$2" "${crop[@]}" -strip -dither None -colors 64 "PNG8:$to/$1"
  echo "$to/$1: $(stat -c %s "$to/$1") bytes"
}
picture explorer-emails.png explorer.png
picture explorer-timesheet.png explorer-time-grouped.png
picture task-menu.png menu-task.png 300x470+0+0
picture time-entry.png dialog-time-memo.png
picture timer.png timer.png
picture chooser.png dialog-choose-task.png
