// A settings store that hands every operation to another one, for tests
// that change the answer of one operation and leave the rest real.
#pragma once

#include "config/registrystore.h"
#include "config/sqliteregistrystore.h"

namespace TarnkitTest {

class ForwardingStore : public TarnkitA201::IRegistryStore {
public:
    explicit ForwardingStore(IRegistryStore &real = TarnkitA201::SqliteRegistryStore()) : real(real) {}

    long OpenKey(HKEY r, const char *p, unsigned long a, HKEY *h) override { return real.OpenKey(r, p, a, h); }
    long CreateKey(HKEY r, const char *p, unsigned long a, HKEY *h, unsigned long *d) override {
        return real.CreateKey(r, p, a, h, d);
    }
    long CloseKey(HKEY k) override { return real.CloseKey(k); }
    long QueryValue(HKEY k, const char *n, unsigned long *t, unsigned char *d, unsigned long *s) override {
        return real.QueryValue(k, n, t, d, s);
    }
    long SetValue(HKEY k, const char *n, unsigned long t, const unsigned char *d, unsigned long s) override {
        return real.SetValue(k, n, t, d, s);
    }
    long DeleteValue(HKEY k, const char *n) override { return real.DeleteValue(k, n); }
    long EnumKey(HKEY k, uint32_t i, char *n, unsigned long *l) override { return real.EnumKey(k, i, n, l); }
    long EnumValue(HKEY k, uint32_t i, char *n, unsigned long *l, unsigned long *t, unsigned char *d,
                   unsigned long *s) override {
        return real.EnumValue(k, i, n, l, t, d, s);
    }
    long DeleteKey(HKEY r, const char *p) override { return real.DeleteKey(r, p); }
    long BeginTransaction(HKEY r) override { return real.BeginTransaction(r); }
    long CommitTransaction(HKEY r) override { return real.CommitTransaction(r); }
    long RollbackTransaction(HKEY r) override { return real.RollbackTransaction(r); }
    long ConnectRemote(const char *m, HKEY r, HKEY *h) override { return real.ConnectRemote(m, r, h); }

    IRegistryStore &real;
};

} // namespace TarnkitTest
