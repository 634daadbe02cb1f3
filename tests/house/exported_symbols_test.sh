#!/usr/bin/env bash
# exported_symbols_test.sh LIBRARY: the shared library exports its interface and nothing else.
set -euo pipefail

exported=$(nm --dynamic --demangle --defined-only "$1" | cut -d' ' -f2-)
[ -n "$exported" ]

# A name, or what the compiler makes for a class, or a function template, which has its return type in front.
ours='^[A-Za-z] ((vtable|VTT|typeinfo|typeinfo name|guard variable) for |(non-virtual|virtual) thunk to )?'
ours+='((Tessivar|Tessivar_Routing|Tessivar_Logging|TessivarDDS|tessivar::platform)::|tessivar::types::Typed|DDS|RTI|PRES)'
engine='cyclone|[( *<,]dds_|ddsi_|nn_|pugi'

strangers=$(grep -Ev "$ours" <<<"$exported" || true)
leaks=$(grep -E "$engine" <<<"$exported" || true)
[ -z "$strangers" ] || printf 'not of the interface:\n%s\n' "$strangers"
[ -z "$leaks" ] || printf 'of the engine room:\n%s\n' "$leaks"
[ -z "$strangers$leaks" ]

# The interface is there: one name of each kind.
for name in 'TessivarDDS::TessivarClient::create()' 'Tessivar::CommandPlugin_serialize(' 'Tessivar::UnitSeq' \
  'vtable for TessivarDDS::TessivarNode' 'DDSDomainParticipantFactory::get_instance()'; do
  grep -qF "$name" <<<"$exported" || {
    echo "not exported: $name"
    exit 1
  }
done
