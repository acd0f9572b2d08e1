// LibPq: the PostgreSQL client library, opened the first time a postgresql://
// store is used. Linking it would load it and some twenty libraries behind it
// (TLS, Kerberos, LDAP) into every process, stores or not: about 2.7 ms and
// 380 page faults at each start of a CGI process.
#pragma once

#include <libpq-fe.h>

struct LibPq {
    decltype(&::PQconnectdbParams) PQconnectdbParams;
    decltype(&::PQfinish) PQfinish;
    decltype(&::PQstatus) PQstatus;
    decltype(&::PQtransactionStatus) PQtransactionStatus;
    decltype(&::PQsocket) PQsocket;
    decltype(&::PQsendQueryParams) PQsendQueryParams;
    decltype(&::PQsendQueryPrepared) PQsendQueryPrepared;
    decltype(&::PQsendPrepare) PQsendPrepare;
    decltype(&::PQisBusy) PQisBusy;
    decltype(&::PQconsumeInput) PQconsumeInput;
    decltype(&::PQgetResult) PQgetResult;
    decltype(&::PQresultStatus) PQresultStatus;
    decltype(&::PQntuples) PQntuples;
    decltype(&::PQnfields) PQnfields;
    decltype(&::PQgetisnull) PQgetisnull;
    decltype(&::PQgetvalue) PQgetvalue;
    decltype(&::PQgetlength) PQgetlength;
    decltype(&::PQclear) PQclear;
    decltype(&::PQsetNoticeProcessor) PQsetNoticeProcessor;

    // The library's functions, or null when it cannot be opened (then no
    // PostgreSQL connection can be made). Opened once per process.
    static const LibPq* Load();
};
