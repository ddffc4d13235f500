#include "apps/viewer/Presenter/Commands.h"

#include "apps/viewer/Model/Texts.h"

namespace Ardo::Kiln::Viewer
{

Offers OffersOf(const Abilities& abilities)
{
    const std::string noImage = Texts::tr("There is no image").toStdString();
    const std::string noFile = Texts::tr("The image comes from no file").toStdString();
    const std::string saving = Texts::tr("A file is being written").toStdString();
    const Threading::ViewRules<Ability, Command> rules = {
        {Command::Reload, {Ability::ReadAgain}, noFile},
        {Command::Step, {Ability::ReadAgain}, noFile},
        {Command::Save, {Ability::ShowImage}, noImage},
        {Command::Save, {Ability::BeginSaving}, saving},
        {Command::SaveAs, {Ability::ShowImage}, noImage},
        {Command::SaveAs, {Ability::BeginSaving}, saving},
        {Command::ExportPicture, {Ability::ShowImage}, noImage},
        {Command::ExportPicture, {Ability::BeginSaving}, saving},
        {Command::Zoom, {Ability::ShowImage}, noImage},
        {Command::Measure, {Ability::ShowImage}, noImage},
        {Command::ShowRawRecord, {Ability::ShowRecord}, Texts::tr("There is no record").toStdString()},
        {Command::Acquire, {Ability::BeginScan}, Texts::tr("The detector is scanning").toStdString()},
        {Command::Stop, {Ability::EndScan}, Texts::tr("The detector is not scanning").toStdString()},
    };
    Offers offers = rules.Apply(abilities);
    const bool canCancel = abilities.Can(Ability::EndReading) || abilities.Can(Ability::EndSaving);
    offers.Set(Command::Cancel, canCancel ? Threading::Offer::Enabled : Threading::Offer::Disabled,
               Texts::tr("Nothing is being read or written").toStdString());
    return offers;
}

} // namespace Ardo::Kiln::Viewer
