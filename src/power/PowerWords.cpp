// SPDX-License-Identifier: GPL-3.0-or-later
#include "power/PowerWords.h"

#include <QCoreApplication>

namespace kestrel {

namespace {
QString tr(const char *text)
{
    return QCoreApplication::translate("PowerWords", text);
}
} // namespace

const PowerWords &PowerWords::shortcuts()
{
    static const PowerWords words{
        tr("HomeKit"),
        tr("HomeKit-Geraet"),
        tr("Status-Kurzbefehl (optional)"),
        tr("Der optionale Status-Kurzbefehl sollte als Text zum Beispiel \"ein\" oder \"aus\" "
           "zurueckgeben."),
        tr("HomeKit aktualisieren"),
        tr("Bist du sicher, dass der Raspberry Pi ueber die HomeKit-Szene ausgeschaltet werden "
           "soll?"),
        tr("Der Kurzbefehl schaltet %1 aus."),
        tr("Für %1 sind noch keine Kurzbefehle eingetragen"),
        tr("Achtung: Auch %1 nutzt den Kurzbefehl „%2“. Jeder Drucker braucht eigene "
           "Kurzbefehle."),
        tr("Der Klipper auf dem Raspberry Pi reagiert nicht. Möchtest du ihn jetzt mit der "
           "HomeKit-Szene einstarten?"),
        tr("Der Klipper auf dem Raspberry Pi reagiert nicht. Für %1 ist noch kein Kurzbefehl "
           "zum Einschalten eingetragen; trage ihn in den Einstellungen ein."),
        tr("HomeKit/Kurzbefehle: "),
        tr("Die macOS Kurzbefehle-CLI ist nicht verfuegbar"),
        tr("Kein Status-Kurzbefehl hinterlegt. Optional kann ein Kurzbefehl den Zustand von %1 "
           "als ein/aus zurueckgeben."),
        tr("Kein Kurzbefehls-Name eingetragen"),
        tr("Kurzbefehl \"%1\" ausgefuehrt"),
        tr("Kurzbefehl fehlgeschlagen (%1)"),
        tr("Status-Kurzbefehl fehlgeschlagen"),
        tr("Status-Kurzbefehl lieferte: "),
        tr("Status-Kurzbefehl lieferte keine auswertbare Rueckgabe"),
    };
    return words;
}

const PowerWords &PowerWords::scenes()
{
    static const PowerWords words{
        tr("Steckdose"),
        tr("Geraet"),
        tr("Status-Szene (optional)"),
        tr("Die optionale Status-Szene sollte als Text zum Beispiel \"ein\" oder \"aus\" "
           "ausgeben."),
        tr("Status aktualisieren"),
        tr("Bist du sicher, dass der Raspberry Pi ueber die Szene ausgeschaltet werden soll?"),
        tr("Die Szene schaltet %1 aus."),
        tr("Für %1 sind noch keine Szenen eingetragen"),
        tr("Achtung: Auch %1 nutzt die Szene „%2“. Jeder Drucker braucht eigene Szenen."),
        tr("Der Klipper auf dem Raspberry Pi reagiert nicht. Möchtest du ihn jetzt mit der Szene "
           "einschalten?"),
        tr("Der Klipper auf dem Raspberry Pi reagiert nicht. Für %1 ist noch keine Szene zum "
           "Einschalten eingetragen; trage sie in den Einstellungen ein."),
        tr("Steckdose: "),
        tr("Kestrels Szenen-Starter kestrel-scene ist nicht installiert"),
        tr("Keine Status-Szene hinterlegt. Optional kann eine Szene den Zustand von %1 als "
           "ein/aus ausgeben."),
        tr("Kein Szenen-Name eingetragen"),
        tr("Szene \"%1\" ausgefuehrt"),
        tr("Szene fehlgeschlagen (%1)"),
        tr("Status-Szene fehlgeschlagen"),
        tr("Status-Szene lieferte: "),
        tr("Status-Szene lieferte keine auswertbare Rueckgabe"),
    };
    return words;
}

} // namespace kestrel
