#pragma once
// uExcel: the reports. Each fills a new workbook made from its template beside the add-in with
// the task tree (TaskReport) or the time entries the timesheet shows (TimeReport), and leaves it
// open in a visible Excel; nothing is saved. Both reach Excel through GetExcel, which fills the
// module-wide Excel, ExcelLCID and ExcelPath. The task report lets a failure reach its caller;
// the time report ends silently on one.
void GetExcel();
void TaskReport();
void TimeReport();
