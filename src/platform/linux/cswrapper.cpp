#include "tarnkit/cswrapper.h"

namespace TarnkitA201 {

CS_Wrapper::CS_Wrapper() noexcept {
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutex_init(&m_mutex, &attributes);
    pthread_mutexattr_destroy(&attributes);
}

CS_Wrapper::~CS_Wrapper() { pthread_mutex_destroy(&m_mutex); }

void CS_Wrapper::Lock() noexcept { pthread_mutex_lock(&m_mutex); }

void CS_Wrapper::Unlock() noexcept { pthread_mutex_unlock(&m_mutex); }

} // namespace TarnkitA201
