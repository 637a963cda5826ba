/* Which addresses hold a Core Graphics context or image right now. Host code hands these
   references over as plain integers, so a stale or made-up number must be recognised
   before any message is sent to it: an object is entered when it is made and removed when
   it goes away, and anything else is no object at all. */
#ifndef QVR_CG_LIVE_OBJECTS_H
#define QVR_CG_LIVE_OBJECTS_H

void CGLiveObjectEnter(const void* object);
void CGLiveObjectLeave(const void* object);
bool CGLiveObjectIsLive(const void* object);

#endif
