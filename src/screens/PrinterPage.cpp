// SPDX-License-Identifier: GPL-3.0-or-later
#include "screens/PrinterPage.h"

#include "printers/Printer.h"
#include "screens/CameraSettingsSection.h"
#include "screens/FormFields.h"
#include "screens/PowerSettingsSection.h"
#include "widgets/SecondaryText.h"

#include <QFormLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QVBoxLayout>

namespace kestrel {

PrinterPage::PrinterPage(Printer &printer, const PrinterList &printers, QWidget *parent)
    : QWidget(parent), m_printer(printer), m_cameras(new CameraSettingsSection(printer.settings())),
      m_power(new PowerSettingsSection(printer, printers))
{
    auto *sections = new QVBoxLayout(this);
    sections->setContentsMargins(0, 0, 0, 0);
    sections->setSpacing(16);
    sections->addWidget(printerSection());
    sections->addWidget(m_cameras);
    sections->addWidget(m_power);
    connect(m_cameras, &CameraSettingsSection::camerasTakenOver, this,
            &PrinterPage::camerasTakenOver);
    connect(&printer.settings(), &PrinterSettings::changed, this, &PrinterPage::refresh);
    connect(&printer, &Printer::namingChanged, this, &PrinterPage::refresh);
    refresh();
}

PrinterPage::~PrinterPage()
{
    m_printer.setSettingsShown(false);
}

void PrinterPage::showEvent(QShowEvent *)
{
    m_printer.setSettingsShown(true);
}

void PrinterPage::hideEvent(QHideEvent *)
{
    m_printer.setSettingsShown(false);
}

QWidget *PrinterPage::printerSection()
{
    PrinterSettings &settings = m_printer.settings();
    auto *box = new QGroupBox(tr("Drucker"));
    auto *form = new QFormLayout(box);
    m_name = boundField(this, tr("Druckername"), form,
                        [&settings](const QString &text) { settings.setPrinterName(text); });
    m_printerIP = boundField(this, tr("IP-Adresse"), form,
                             [&settings](const QString &text) { settings.setPrinterIP(text); });
    // Leaving the field is the end of typing: the address counts at once.
    connect(m_printerIP, &QLineEdit::editingFinished, &settings, &PrinterSettings::settlePrinterIP);
    form->addRow(QString(),
                 secondaryText(tr("Beispiel: ") + PrinterSettings::defaultPrinterIP(), box));
    m_apiKey = boundField(this, tr("API-Schlüssel"), form,
                          [&settings](const QString &text) { settings.setPrinterApiKey(text); });
    m_apiKey->setEchoMode(QLineEdit::Password);
    form->addRow(QString(), secondaryText(tr("Nur für Drucker-Hosts, die Kestrel sonst nicht "
                                             "vertrauen"),
                                          box));
    return box;
}

void PrinterPage::refresh()
{
    const PrinterSettings &settings = m_printer.settings();
    showValue(m_name, settings.printerName());
    showValue(m_printerIP, settings.printerIP());
    showValue(m_apiKey, settings.printerApiKey());
    m_cameras->refresh();
    m_power->refresh();
}

} // namespace kestrel
