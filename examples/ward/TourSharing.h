#pragma once
// The third act of the tour: one live object for each row, relations, and lists.

#include "Kinds.h"
#include "Tour.h"

namespace ward {

// The scenes, in their order.
void OneObjectScene(TNarrator& narrator);  // TourSharing.cpp
void ReloadScene(TNarrator& narrator, const std::string& databaseFile);
void RelationScene(TNarrator& narrator);  // TourRelations.cpp
void HoldersScene(TNarrator& narrator);
void FilterAndOrderScene(TNarrator& narrator);  // TourLists.cpp
void SaveListScene(TNarrator& narrator, TSqliteDatabase& database);

}  // namespace ward
