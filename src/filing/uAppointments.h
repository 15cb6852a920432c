#pragma once
// uAppointments: appointments of the calendar filed against tasks. Rows live in
// MemDataAppointments; several rows may share one appointment. Deleting lets a failure of the
// row's own step pass on to the caller.
#include <memory>
#include <string>

#include "platform/Outlook.h"

std::shared_ptr<outlook::_AppointmentItem> CreateAppointmentItem(int TaskID, const std::string& Subject);
void FilterAppointments(int TaskID);
void UnfilterAppointments();
void ShowAppointmentItem();
void DeleteAppointmentItem();
void RemoveAppointmentItem();
