// Everything Corvo offers, in one include.
#ifndef CORVO_H
#define CORVO_H

#include "CorvoBasicTypes.h"
#include "CorvoConverter.h"
#include "CorvoCriticalSection.h"
#include "CorvoDeveloperConfig.h"
#include "CorvoEvent.h"
#include "CorvoException.h"
#include "CorvoExport.h"
#include "CorvoLocaleConverter.h"
#include "CorvoMutex.h"
#include "CorvoNumberToString.h"
#include "CorvoReadWriteLock.h"
#include "CorvoSemaphore.h"
#include "CorvoString.h"
#include "CorvoThread.h"
#include "CorvoTimer.h"
#include "CorvoTokenizer.h"
#include "CorvoUtf8String.h"
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

#endif
