// The numbers the three libraries share when they tell a user something: the
// info values of an error report that are not argument positions, and the
// entries of the core's message catalogue.  A number is written here once;
// every report and every print names it.
#pragma once

namespace orb {

//! Info values of an error report beyond the positions of arguments.
enum ReportInfo : int {
  kInfoNoMemory = 1000,       //!< the routine's scratch could not be had
  kInfoThreadSetting = 1001,  //!< the routine cannot run with the thread setting in force
  kInfoNullPointer = 1102,    //!< a required pointer argument is null
  kInfoTooLarge32 = 1225,     //!< a size exceeds what the 32-bit interface can pass
};

//! Entries of the message catalogue (core/service/messages.cpp).
enum MessageId : int {
  kMsgReportHeader = 0,        //!< opens every error report
  kMsgIllegalArgument = 6,     //!< parameter %d was incorrect on entry to %s
  kMsgInternalError = 7,       //!< internal error %d was reported by %s
  kMsgNoMemory = 8,            //!< not enough memory to run %s
  kMsgThreadSetting = 9,       //!< %s cannot run with the thread setting in force
  kMsgEwfNoHandle = 771,       //!< the vector-function threader has no core library to load from
  kMsgEwfEntryMissing = 772,   //!< the core library lacks the vector-math entry point %s
  kMsgProviderNotLoaded = 781, //!< cannot load the kernel provider %s
  kMsgProviderLacks = 782,     //!< the kernel provider %s lacks the routine %s
  kMsgProvider2Unused = 783,   //!< the second kernel provider %s is not used: %s
  kMsgNullPointer = 1102,      //!< a required pointer argument (%s) is null
  kMsgTooLarge32 = 1225,       //!< %s: a size exceeds the 32-bit interface
};

//! The message that explains report info `info` (info <= 0 is an internal error).
constexpr MessageId message_for_info(int info) {
  switch (info) {
    case kInfoNoMemory: return kMsgNoMemory;
    case kInfoThreadSetting: return kMsgThreadSetting;
    case kInfoNullPointer: return kMsgNullPointer;
    case kInfoTooLarge32: return kMsgTooLarge32;
    default: return info < 1 ? kMsgInternalError : kMsgIllegalArgument;
  }
}

}  // namespace orb
