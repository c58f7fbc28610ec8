#pragma once

#include "examples/tour/Tour.h"

/// The steps of the tour. Each uses what those before it have left in the `Tour`.
namespace tour {

// AccountSteps.cpp: these change nothing on the server.
void discoverEndpoint(Tour& tour);
void openAccount(Tour& tour);
void printFolders(Tour& tour);
void countInbox(Tour& tour);
void readNewest(Tour& tour);
void restoreFolders(Tour& tour);

// MessageSteps.cpp: a message from one mailbox to another, and what becomes of it there.
void openColleague(Tour& tour);
void sendMessage(Tour& tour);
void findMessage(Tour& tour);
void readMessage(Tour& tour);
void updateMessage(Tour& tour);
void setOwnProperty(Tour& tour);
void moveMessage(Tour& tour);
void countMessages(Tour& tour);
void exportAndUpload(Tour& tour);
void deleteMessages(Tour& tour);

// AttachmentSteps.cpp: a file that travels with a message.
void sendFile(Tour& tour);
void receiveFile(Tour& tour);

// NotificationSteps.cpp: a message that is noticed as it arrives.
void watchInbox(Tour& tour);

}  // namespace tour
