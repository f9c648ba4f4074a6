/// \file
/// Everything Corvo offers, in one include.
#ifndef CORVO_H
#define CORVO_H

/// \namespace Vesk
/// Everything of the library.

/// \namespace Vesk::Corvo
/// The platform layer: classes with Win32 names for the services of the
/// operating system, on Windows and on Linux, and the text helpers they use.

/// \namespace Vesk::Zim
/// The developer toolkit: the Logger and its policies, a stack tracer and a
/// small runner of test suites.

#include "CorvoBasicTypes.h"
#include "CorvoConverter.h"
#include "CorvoCriticalSection.h"
#include "CorvoDeveloperConfig.h"
#include "CorvoDriveEnumerator.h"
#include "CorvoDynamicLibrary.h"
#include "CorvoEvent.h"
#include "CorvoException.h"
#include "CorvoExport.h"
#include "CorvoLocalHeap.h"
#include "CorvoLocaleConverter.h"
#include "CorvoMutex.h"
#include "CorvoNumberToString.h"
#include "CorvoReadWriteLock.h"
#include "CorvoSemaphore.h"
#include "CorvoString.h"
#include "CorvoSystemCommand.h"
#include "CorvoThread.h"
#include "CorvoTimer.h"
#include "CorvoTokenizer.h"
#include "CorvoUtf8String.h"
#include "CorvoWindow.h"
#include "CorvoGraphicalContext.h"
#include "ZimException.h"
#include "ZimLogPolicy.h"
#include "ZimLogToRollingFilePolicy.h"
#include "ZimLogger.h"
#include "ZimStackTracer.h"
#include "ZimUnitTestSuite.h"
#include "CorvoPacket.h"
#include "CorvoStream.h"
#include "CorvoSocketAddress.h"
#include "CorvoSocketErrorDictionary.h"
#include "CorvoSocket.h"
#include "CorvoFileStream64.h"
#include "CorvoSerialStream.h"

#endif
