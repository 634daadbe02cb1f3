// The domain that the examples talk on. They log warnings and errors only.
#pragma once

#include "tessivar/framework/domain/domain_manager.h"
#include "tessivar/framework/log/logger.h"

#include <charconv>
#include <cstdlib>
#include <cstring>
#include <iostream>

/// The shared domain whose number is the program's first argument, 0 without one; a program that cannot have it
/// ends. Given back with this object: nodes and services are declared after it, so that they go first.
class ExampleDomain {
 public:
  ExampleDomain(int argc, char** argv) {
    TessivarDDS::setLogThreshold(TessivarDDS::LogWarning);
    domain_ = TessivarDDS::DomainManager::instance().sharedDomain(number(argc, argv), "", "", nullptr);
    if (!domain_) std::exit(1);  // the log says why
  }
  ~ExampleDomain() { TessivarDDS::DomainManager::instance().releaseSharedDomain(domain_, nullptr); }
  ExampleDomain(const ExampleDomain&) = delete;
  ExampleDomain& operator=(const ExampleDomain&) = delete;
  operator TessivarDDS::DDSDomain*() const { return domain_; }

 private:
  static int number(int argc, char** argv) {
    if (argc < 2) return 0;
    int domain = -1;
    const char* const end = argv[1] + std::strlen(argv[1]);
    if (std::from_chars(argv[1], end, domain).ptr == end && domain >= 0 && domain <= 232) return domain;
    std::cerr << argv[0] << ": \"" << argv[1] << "\" is no domain, which is a number from 0 to 232" << std::endl;
    std::exit(2);
  }

  TessivarDDS::DDSDomain* domain_;
};
